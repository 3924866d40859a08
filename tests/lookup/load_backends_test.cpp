#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/lookup/LookUpTest.hpp>
#include <tests/support/files.hpp>

#include <cppmicroservices/IllegalStateException.h>

#include <dlfcn.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace logging2::core::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

using LoadBackendsTest = LookUpTest;

/// The path of a shared library that is built with this test.
std::string module_file(const std::string& name) {
    return LOGGING2_TEST_MODULES "/" + name + ".so";
}

bool is_loaded(const std::string& file) {
    void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr) {
        dlclose(library);
    }
    return library != nullptr;
}

/// Expects a std::runtime_error that names the file and the reason, and no registered service.
void expect_not_loaded(const std::string& file, const std::string& reason) {
    EXPECT_THAT(
        [&] { load_backends(file, foundation::get_global_bundle_context()); },
        ThrowsMessage<std::runtime_error>(
            AllOf(StartsWith("cannot load back-ends from \"" + file + "\": "), HasSubstr(reason))));
    EXPECT_EQ(foundation::get_global_bundle_context().GetServiceReferences("").size(), 0U);
}

TEST_F(LoadBackendsTest, everyBackendOfTheLibraryIsRegistered) {
    const BackendRegistrations registrations =
        load_backends(module_file("two_backends"), context());
    EXPECT_EQ(registrations.size(), 4U);
    const std::vector<BackendInfo> backends = registered_backends(context());
    ASSERT_EQ(backends.size(), 2U);
    EXPECT_EQ(backends[0].name, "counting");
    EXPECT_EQ(backends[0].description, "stores the number of each step");
    EXPECT_EQ(backends[1].name, "plain");
    EXPECT_TRUE(writerNamed("plain").has_value());
    EXPECT_TRUE(readerNamed("counting").has_value());
}

TEST_F(LoadBackendsTest, writerOfTheLibraryOutlivesItsRegistration) {
    BackendRegistrations registrations = load_backends(module_file("two_backends"), context());
    const auto writer = writerNamed("counting");
    unregister(registrations);
    registrations.clear();
    EXPECT_FALSE(writerNamed("counting").has_value());
    EXPECT_TRUE(is_loaded(module_file("two_backends")));
    write(**writer, 0, 0.5, {10.0});
    write(**writer, 0, 1.5, {10.0});
    (*writer)->flush();
    EXPECT_THAT(*memoryStore(**writer, "x").values, ::testing::ElementsAre(1.0, 2.0));
}

TEST_F(LoadBackendsTest, libraryLoadedTwiceIsRegisteredTwice) {
    BackendRegistrations first = load_backends(module_file("two_backends"), context());
    load_backends(module_file("two_backends"), context());
    EXPECT_EQ(serviceCount(), 8U);
    unregister(first);
    EXPECT_TRUE(writerNamed("counting").has_value());
}

TEST_F(LoadBackendsTest, missingFileIsRefused) {
    expect_not_loaded("/nowhere/absent.so", "No such file or directory");
}

TEST_F(LoadBackendsTest, fileThatIsNotALibraryIsRefused) {
    const TemporaryDirectory directory;
    const std::string file = (directory.path() / "text.so").string();
    writeBytes(file, "This is a text, and it is longer than the header of a shared library.\n");
    expect_not_loaded(file, "invalid ELF header");
}

TEST_F(LoadBackendsTest, libraryWithoutTheFunctionIsRefusedAndStaysLoaded) {
    expect_not_loaded(module_file("no_function"),
                      "it does not export the function logging2_backends");
    EXPECT_TRUE(is_loaded(module_file("no_function")));
}

TEST_F(LoadBackendsTest, functionOfADependencyDoesNotCount) {
    expect_not_loaded(module_file("dependent"),
                      "it does not export the function logging2_backends");
}

TEST_F(LoadBackendsTest, nameWithoutASlashIsSearchedInSystemDirectories) {
    expect_not_loaded("libm.so.6", "it does not export the function logging2_backends");
    expect_not_loaded("two_backends.so", "cannot open shared object file");
}

TEST_F(LoadBackendsTest, exceptionOfTheLibraryPropagatesUnchanged) {
    EXPECT_THAT([] { load_backends(module_file("throwing"), context()); },
                ThrowsMessage<std::domain_error>("no licence"));
    EXPECT_EQ(serviceCount(), 0U);
}

TEST_F(LoadBackendsTest, badBackendPreventsAllRegistrationsOfItsLibrary) {
    EXPECT_THAT([] { load_backends(module_file("bad_backend"), context()); },
                ThrowsMessage<std::invalid_argument>(
                    "register_backend: the name of the back-end \"a*b\" contains * ( ) \\ or the "
                    "delete character"));
    EXPECT_EQ(serviceCount(), 0U);
}

TEST_F(LoadBackendsTest, invalidContextIsRefused) {
    EXPECT_THROW(load_backends(module_file("two_backends"), {}),
                 cppmicroservices::IllegalStateException);
}

TEST_F(LoadBackendsTest, threadsMayLoadAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([] {
            for (int k = 0; k < 20; ++k) {
                EXPECT_EQ(load_backends(module_file("two_backends"), context()).size(), 4U);
                EXPECT_THROW(load_backends(module_file("no_function"), context()),
                             std::runtime_error);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(serviceCount(), 2U * 20U * 4U);
    EXPECT_EQ(registered_backends(context()).size(), 2U);
}

} // namespace
} // namespace logging2::core::test
