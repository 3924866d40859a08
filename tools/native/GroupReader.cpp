#include <tools/native/GroupReader.hpp>

#include <tools/UsageError.hpp>
#include <tools/native/file_names.hpp>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace logging2::tools {
namespace {

constexpr std::size_t valuesPerBlock = std::size_t{1024} * 1024;

[[noreturn]] void refuse_changed(const std::string& path) {
    throw UsageError(path + ": the file was changed while it was read");
}

void read_fully(int file, char* target, std::size_t byteCount, off_t offset,
                const std::string& path) {
    while (byteCount > 0) {
        const ssize_t count = pread(file, target, byteCount, offset);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw std::system_error(errno, std::generic_category(), path);
        }
        if (count == 0) {
            refuse_changed(path);
        }
        target += count;
        offset += count;
        byteCount -= static_cast<std::size_t>(count);
    }
}

} // namespace

GroupReader::GroupReader(const LeftOver& leftOver, std::size_t groupId,
                         const std::vector<ChannelLayout>& channels)
    : directory(leftOver.directory),
      stepsPerBlock(std::max<std::size_t>(1, valuesPerBlock / (row_width(channels) + 1))) {
    const auto files = leftOver.groups.find(groupId);
    if (files == leftOver.groups.end()) {
        return;
    }
    stepCount = count_steps(files->second, channels).complete;
    if (stepCount == 0) {
        return;
    }
    times = {text_of({leftOver.stem, groupId, std::nullopt}), *files->second.times};
    for (const ChannelLayout& channel : channels) {
        if (has_values(channel)) {
            columns.push_back({text_of({leftOver.stem, groupId, channel.id}),
                               files->second.channels.at(channel.id)});
            columnWidths.push_back(channel.width);
        }
    }
}

StepBlock GroupReader::next() {
    StepBlock block;
    block.stepCount = std::min<std::uint64_t>(stepsPerBlock, stepCount - position);
    if (block.stepCount == 0) {
        return block;
    }
    block.times = read(times, 1, block.stepCount);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        block.columns.push_back(read(columns[i], columnWidths[i], block.stepCount));
    }
    position += block.stepCount;
    return block;
}

std::vector<double> GroupReader::read(const Column& column, std::size_t width,
                                      std::size_t steps) const {
    const std::string path = directory.pathOf(column.name);
    const Descriptor file = directory.open(column.name);
    struct stat status {};
    if (fstat(file.get(), &status) != 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    if (!is_stream_file(status) || !is_same_file(stream_file(status), column.file)) {
        refuse_changed(path);
    }
    std::vector<double> values(steps * width);
    read_fully(file.get(), reinterpret_cast<char*>(values.data()), values.size() * sizeof(double),
               static_cast<off_t>(position * width * sizeof(double)), path);
    return values;
}

} // namespace logging2::tools
