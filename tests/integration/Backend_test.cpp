#include <examples/simulate/HostError.hpp>
#include <examples/simulate/logging/Backend.hpp>
#include <tests/integration/support/test_backends.hpp>

#include <gtest/gtest.h>

namespace {

using logging2::core::StreamingAttributes;
using simulate::Backend;

std::string writer_error(const std::string& name, std::size_t pointLimit = 10) {
    integration::register_test_backends();
    StreamingAttributes attributes;
    attributes.pointLimit = pointLimit;
    try {
        Backend(name).openWriter(attributes, {{0, {{}, {}}}});
    } catch (const simulate::HostError& error) {
        return error.what();
    }
    return "no error";
}

std::string reader_error(const std::string& name) {
    integration::register_test_backends();
    try {
        Backend(name).openReader(logging2::core::MemoryDatastore());
    } catch (const simulate::HostError& error) {
        return error.what();
    }
    return "no error";
}

TEST(BackendTest, unknownNameListsTheRegisteredNames) {
    EXPECT_EQ(writer_error("nowhere").find(
                  "there is no back-end \"nowhere\" (the back-ends are: memory, memory-restricted, "
                  "native, "
                  "checked:memory, checked:memory-restricted, checked:native, declining, "
                  "single-use, "),
              0u);
}

TEST(BackendTest, nameIsNotUsedAsAPattern) {
    for (const std::string name : {"*", "mem*", "a)b", "(memory", "mem\\ory", "\x7f", ""}) {
        EXPECT_EQ(writer_error(name).find("there is no back-end"), 0u) << name;
    }
}

TEST(BackendTest, missingWriterIsAnError) {
    EXPECT_EQ(writer_error("makes-nothing"),
              "the back-end \"makes-nothing\" failed: it created no writer");
}

TEST(BackendTest, exceptionOfTheBackendIsReported) {
    EXPECT_EQ(writer_error("throws"), "the back-end \"throws\" failed: the cable is out");
}

TEST(BackendTest, errorNamesAPointLimitThatExceedsMemory) {
    EXPECT_EQ(writer_error("out-of-memory", 77),
              "the back-end \"out-of-memory\" failed: a point limit of 77 is too large for the "
              "memory");
    EXPECT_EQ(writer_error("memory-restricted", std::size_t{1} << 60),
              "the back-end \"memory-restricted\" failed: a point limit of 1152921504606846976 is "
              "too large for the memory");
}

TEST(BackendTest, missingReaderIsAnError) {
    EXPECT_EQ(reader_error("makes-nothing"),
              "the back-end \"makes-nothing\" failed: it created no reader");
}

TEST(BackendTest, backendWithoutAReaderServiceIsUnknownForReading) {
    EXPECT_EQ(reader_error("no-reader").find("there is no back-end \"no-reader\""), 0u);
}

TEST(BackendTest, defaultBackendMakesWriterAndReader) {
    const Backend backend;
    EXPECT_EQ(backend.label(), "default");
    EXPECT_NE(backend.openWriter({}, {}), nullptr);
    EXPECT_NE(backend.openReader({}), nullptr);
}

} // namespace
