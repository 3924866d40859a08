#include <logging2/native/StreamLocationCreator.hpp>

#include <logging2/host/filesystem/operations.hpp>
#include <logging2/host/foundation/text_conversion.hpp>
#include <logging2/ids/identifiers.hpp>

#include <boost/filesystem/operations.hpp>

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core {
namespace {

using Path = fl::filesystem::basic_path<char, char16_t>;
using fl::filesystem::detail::concatenate_pathname;
using fl::filesystem::detail::make_native_form;

const std::u16string& directory_prefix() {
    static const std::u16string* const prefix = new std::u16string(u"trakontmp.");
    return *prefix;
}

/// Returns the temporary directory to use if the host provides none.
Path fallback_tempdir() {
    boost::filesystem::path directory = boost::filesystem::temp_directory_path();
    // GCOVR_EXCL_START: temp_directory_path() of Boost 1.74 to 1.85 throws instead of returning an
    // empty path; LocationErrorsTest.fallbackWithAnEmptyTmpdirThrows checks the installed one.
    if (directory.empty()) {
        directory = boost::filesystem::current_path();
    }
    // GCOVR_EXCL_STOP
    directory = boost::filesystem::canonical(directory, boost::filesystem::current_path());
    return make_native_form(foundation::utf8_string_to_ustring(directory.string()));
}

/// Returns the login name of the real user, if there is one.
std::optional<std::string> login_name() {
    std::vector<char> texts(1024);
    passwd entry{};
    passwd* found = nullptr;
    for (int error = ERANGE; error == ERANGE || error == EINTR;) {
        error = getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &found);
        texts.resize(error == ERANGE ? 2 * texts.size() : texts.size());
    }
    if (found == nullptr || found->pw_name == nullptr) {
        return std::nullopt;
    }
    return found->pw_name;
}

} // namespace

StreamLocationCreator::StreamLocationCreator() : prefix(directory_prefix()) {
    setUniquePath();
}

StreamLocationCreator::~StreamLocationCreator() = default;

void StreamLocationCreator::setUniquePath() {
    const Path temporaryDirectory = tempdir();
    const Path name = make_native_form(prefix + username().text());
    const Path userDirectory = concatenate_pathname(temporaryDirectory, name);
    if (!fl::filesystem::exists(userDirectory)) {
        try {
            fl::filesystem::create_directories(userDirectory);
        } catch (const fl::filesystem::FileExistsError&) {
            // Another process or thread has created the directory in the meantime.
        }
    }
    uniquePath = concatenate_pathname(userDirectory, get_unique_id());
}

const Path& StreamLocationCreator::getUniquePath() const {
    return uniquePath;
}

// A member like the other queries, although it uses no data member.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
Path StreamLocationCreator::tempdir() {
    std::u16string directory;
    try {
        directory = fl::filesystem::temp_directory_name();
    } catch (...) {
        return fallback_tempdir();
    }
    return make_native_form(directory);
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
Path StreamLocationCreator::username() const {
    return make_native_form(foundation::utf8_string_to_ustring(login_name().value_or("unknown")));
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
Path StreamLocationCreator::uniqueId() const {
    return get_unique_id();
}

} // namespace logging2::core
