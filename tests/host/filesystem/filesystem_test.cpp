#include <logging2/host/filesystem/basic_path.hpp>
#include <logging2/host/filesystem/operations.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <tests/host/filesystem/paths.hpp>

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace logging2::core::test {
namespace {

using fl::filesystem::detail::concatenate_pathname;
using fl::filesystem::detail::make_native_access_form_i18n;
using fl::filesystem::detail::make_native_form;

TEST(BasicPathTest, nativeFormKeepsTheText) {
    EXPECT_EQ(make_native_form(u"/tmp/a_times_0").text(), u"/tmp/a_times_0");
    EXPECT_TRUE(make_native_form(u"").empty());
}

TEST(BasicPathTest, concatenationPutsOneSeparatorBetweenParts) {
    EXPECT_EQ(concatenate_pathname(Path(u"/tmp"), Path(u"a")), Path(u"/tmp/a"));
    EXPECT_EQ(concatenate_pathname(Path(u"/tmp/"), Path(u"a")), Path(u"/tmp/a"));
    EXPECT_EQ(concatenate_pathname(Path(u"/tmp"), Path()), Path(u"/tmp"));
    EXPECT_EQ(concatenate_pathname(Path(), Path(u"a")), Path(u"a"));
}

TEST(BasicPathTest, accessFormAndPrintedTextAreUtf8) {
    const Path path(u"/tmp/J\u00fcrgen");
    std::ostringstream stream;
    stream << path;
    EXPECT_EQ(stream.str(), "/tmp/J\xc3\xbcrgen");
    EXPECT_EQ(make_native_access_form_i18n(path), "/tmp/J\xc3\xbcrgen");
}

TEST(FilesystemTest, existsFindsFilesAndDirectories) {
    const SystemTempDirectory directory;
    const Path file = inside(directory, u"\u20ac");
    EXPECT_FALSE(fl::filesystem::exists(file));
    writeBytes(native(file.text()), "x");
    EXPECT_TRUE(fl::filesystem::exists(file));
    EXPECT_TRUE(fl::filesystem::exists(inside(directory, u"")));
    EXPECT_FALSE(fl::filesystem::exists(Path()));
    std::filesystem::create_symlink("nowhere", directory.path() / "dangling");
    EXPECT_FALSE(fl::filesystem::exists(inside(directory, u"dangling")));
    std::filesystem::create_symlink("loop", directory.path() / "loop");
    EXPECT_THROW(fl::filesystem::exists(inside(directory, u"loop")),
                 std::filesystem::filesystem_error);
}

TEST(FilesystemTest, removesAFileAndToleratesItsAbsence) {
    const SystemTempDirectory directory;
    const Path file = inside(directory, u"a");
    writeBytes(native(file.text()), "x");
    fl::filesystem::remove_file(file);
    EXPECT_FALSE(fl::filesystem::exists(file));
    EXPECT_NO_THROW(fl::filesystem::remove_file(file));
}

TEST(FilesystemTest, removingADirectoryThrows) {
    const SystemTempDirectory directory;
    std::filesystem::create_directories(directory.path() / "full" / "inner");
    for (const std::u16string name : {u"full", u"full/inner"}) {
        EXPECT_THROW(fl::filesystem::remove_file(inside(directory, name)),
                     std::filesystem::filesystem_error);
    }
    EXPECT_TRUE(std::filesystem::is_directory(directory.path() / "full" / "inner"));
}

TEST(FilesystemTest, removingALinkKeepsItsTarget) {
    const SystemTempDirectory directory;
    std::filesystem::create_directory(directory.path() / "d");
    std::filesystem::create_directory_symlink("d", directory.path() / "link");
    fl::filesystem::remove_file(inside(directory, u"link"));
    EXPECT_FALSE(
        std::filesystem::exists(std::filesystem::symlink_status(directory.path() / "link")));
    EXPECT_TRUE(std::filesystem::is_directory(directory.path() / "d"));
}

TEST(FilesystemTest, createsDirectoriesWithTheirParents) {
    const SystemTempDirectory directory;
    fl::filesystem::create_directories(inside(directory, u"a/b/c"));
    EXPECT_TRUE(std::filesystem::is_directory(directory.path() / "a" / "b" / "c"));
}

TEST(FilesystemTest, existingNameThrowsFileExistsError) {
    const SystemTempDirectory directory;
    const Path taken = inside(directory, u"a");
    fl::filesystem::create_directories(taken);
    EXPECT_THROW(fl::filesystem::create_directories(taken), fl::filesystem::FileExistsError);
    const Path file = inside(directory, u"file");
    writeBytes(native(file.text()), "x");
    EXPECT_THROW(fl::filesystem::create_directories(file), fl::filesystem::FileExistsError);
    const Path link = inside(directory, u"link");
    std::filesystem::create_symlink("nowhere", native(link.text()));
    EXPECT_THROW(fl::filesystem::create_directories(link), fl::filesystem::FileExistsError);
}

TEST(FilesystemTest, parentThatIsAFileThrowsNotADirectory) {
    const SystemTempDirectory directory;
    writeBytes(directory.path() / "file", "x");
    try {
        fl::filesystem::create_directories(inside(directory, u"file/inner"));
        ADD_FAILURE();
    } catch (const fl::filesystem::FileExistsError&) {
        ADD_FAILURE() << "nothing of that name exists";
    } catch (const std::filesystem::filesystem_error& error) {
        EXPECT_EQ(error.code(), std::errc::not_a_directory);
    }
}

TEST(FilesystemTest, temporaryDirectoryFollowsTmpdir) {
    setenv("TMPDIR", "/var/tmp/J\xc3\xbcrgen", 1);
    EXPECT_EQ(fl::filesystem::temp_directory_name(), u"/var/tmp/J\u00fcrgen");
    setenv("TMPDIR", "", 1);
    EXPECT_EQ(fl::filesystem::temp_directory_name(), u"");
    unsetenv("TMPDIR");
    EXPECT_EQ(fl::filesystem::temp_directory_name(), u"/tmp");
}

TEST(FilesystemTest, functionMayProvideTheTemporaryDirectory) {
    EXPECT_FALSE(fl::filesystem::setTempDirectoryName([] { return u"/elsewhere"; }));
    EXPECT_EQ(fl::filesystem::temp_directory_name(), u"/elsewhere");
    EXPECT_TRUE(fl::filesystem::setTempDirectoryName(
        []() -> std::u16string { throw std::runtime_error("no temporary directory"); }));
    EXPECT_THROW(fl::filesystem::temp_directory_name(), std::runtime_error);
    fl::filesystem::setTempDirectoryName({});
    EXPECT_NO_THROW(fl::filesystem::temp_directory_name());
}

} // namespace
} // namespace logging2::core::test
