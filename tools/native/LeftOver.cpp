#include <tools/native/LeftOver.hpp>

#include <tools/native/file_names.hpp>

#include <pwd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <vector>

namespace logging2::tools {
namespace {

using Clock = std::chrono::system_clock;

Clock::time_point time_of(const timespec& time) {
    constexpr std::int64_t greatest = 8'000'000'000; // in the year 2223
    const std::int64_t seconds = std::clamp<std::int64_t>(time.tv_sec, 0, greatest);
    return Clock::time_point(std::chrono::seconds(seconds) +
                             std::chrono::nanoseconds(time.tv_nsec));
}

/// Sparse files can be so large that their sum is not a number of 64 bits.
std::uint64_t limited_sum(std::uint64_t a, std::uint64_t b) {
    constexpr auto greatest = std::numeric_limits<std::uint64_t>::max();
    return a > greatest - b ? greatest : a + b;
}

} // namespace

bool is_stream_file(const struct stat& status) {
    constexpr mode_t never = S_ISUID | S_ISGID | S_IXUSR | S_IXGRP | S_IXOTH;
    return S_ISREG(status.st_mode) && (status.st_mode & never) == 0;
}

StreamFile stream_file(const struct stat& status) {
    return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
            status.st_mtim};
}

bool is_same_file(const StreamFile& a, const StreamFile& b) {
    return a.device == b.device && a.inode == b.inode;
}

bool is_unchanged(const StreamFile& a, const StreamFile& b) {
    return is_same_file(a, b) && a.byteCount == b.byteCount && a.change.tv_sec == b.change.tv_sec &&
           a.change.tv_nsec == b.change.tv_nsec;
}

std::string location_of(const LeftOver& leftOver) {
    return leftOver.directory + (leftOver.directory.back() == '/' ? "" : "/") + leftOver.stem;
}

std::map<std::string, StreamFile> files_of(const LeftOver& leftOver) {
    std::map<std::string, StreamFile> files;
    for (const auto& [group, groupFiles] : leftOver.groups) {
        if (groupFiles.times) {
            files.emplace(text_of({leftOver.stem, group, std::nullopt}), *groupFiles.times);
        }
        for (const auto& [channel, file] : groupFiles.channels) {
            files.emplace(text_of({leftOver.stem, group, channel}), file);
        }
    }
    return files;
}

std::uint64_t byte_count_of(const LeftOver& leftOver) {
    std::uint64_t sum = 0;
    for (const auto& [name, file] : files_of(leftOver)) {
        sum = limited_sum(sum, file.byteCount);
    }
    return sum;
}

Clock::time_point last_change(const LeftOver& leftOver) {
    Clock::time_point last;
    for (const auto& [name, file] : files_of(leftOver)) {
        last = std::max(last, time_of(file.change));
    }
    return last;
}

Clock::duration age_of(const LeftOver& leftOver) {
    return std::max(Clock::now() - last_change(leftOver), Clock::duration::zero());
}

std::string user_name(uid_t user) {
    std::vector<char> texts(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (getpwuid_r(user, &entry, texts.data(), texts.size(), &found) == ERANGE) {
        texts.resize(2 * texts.size());
    }
    return found == nullptr ? std::to_string(user) : found->pw_name;
}

} // namespace logging2::tools
