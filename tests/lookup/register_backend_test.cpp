#include <tests/lookup/LookUpTest.hpp>

#include <cppmicroservices/Framework.h>
#include <cppmicroservices/FrameworkEvent.h>
#include <cppmicroservices/FrameworkFactory.h>
#include <cppmicroservices/IllegalStateException.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

namespace logging2::core::test {
namespace {

using cppmicroservices::IllegalStateException;

const std::vector<char> refusedCharacters{'*', '(', ')', '\\', '\x7f'};

class RegisterBackendTest : public LookUpTest {
protected:
    /// The message of the std::invalid_argument that refuses the back-end.
    static std::string refusal(const Backend& backend) {
        try {
            register_backend(context(), backend);
        } catch (const std::invalid_argument& error) {
            return error.what();
        }
        return "registered";
    }
};

TEST_F(RegisterBackendTest, backendIsFoundByItsName) {
    register_backend(context(), memoryBackend("other"));
    register_backend(context(), memoryBackend("wanted"));
    const auto writer = writerNamed("wanted");
    ASSERT_TRUE(writer.has_value());
    EXPECT_NE(dynamic_cast<MemoryStreamWriter*>(writer->get()), nullptr);
    const auto reader = readerNamed("wanted");
    ASSERT_TRUE(reader.has_value());
    EXPECT_NE(dynamic_cast<MemoryStreamReader*>(reader->get()), nullptr);
    EXPECT_FALSE(writerNamed("absent").has_value());
    EXPECT_FALSE(readerNamed("absent").has_value());
}

TEST_F(RegisterBackendTest, functionsGetTheCallersArguments) {
    StreamingAttributes attributes;
    attributes.pointLimit = 17;
    const GroupSetup setup = scalarSetup();
    Backend backend = memoryBackend("n");
    backend.createWriter = [&](const StreamingAttributes& given, const GroupSetup& groups) {
        EXPECT_EQ(given.pointLimit, 17U);
        EXPECT_EQ(groups.begin(), setup.begin()) << "the setup was copied";
        return std::make_unique<MemoryStreamWriter>(given, groups);
    };
    const boost::any dataStore = MemoryDatastore();
    backend.createReader = [&](const boost::any& given) {
        EXPECT_EQ(&given, &dataStore);
        return std::make_unique<MemoryStreamReader>(given);
    };
    register_backend(context(), backend);
    EXPECT_NE(get_stream_writer("n", attributes, setup).value(), nullptr);
    EXPECT_NE(get_stream_reader("n", dataStore).value(), nullptr);
}

TEST_F(RegisterBackendTest, writerAndReaderAreUnregisteredSeparately) {
    BackendRegistrations registrations = register_backend(context(), memoryBackend("n"));
    ASSERT_EQ(registrations.size(), 2U);
    registrations[0].Unregister();
    EXPECT_FALSE(writerNamed("n").has_value());
    EXPECT_TRUE(readerNamed("n").has_value());
    registrations[1].Unregister();
    EXPECT_FALSE(readerNamed("n").has_value());
}

TEST_F(RegisterBackendTest, droppedHandlesLeaveTheBackendRegistered) {
    register_backend(context(), memoryBackend("n")).clear();
    EXPECT_TRUE(writerNamed("n").has_value());
    EXPECT_TRUE(readerNamed("n").has_value());
}

TEST_F(RegisterBackendTest, firstOfTwoBackendsOfOneNameIsFound) {
    Backend second = memoryBackend("n");
    second.createWriter = [](auto&&...) { return nullptr; };
    second.createReader = [](auto&&) { return nullptr; };
    BackendRegistrations first = register_backend(context(), memoryBackend("n"));
    register_backend(context(), second);
    EXPECT_NE(writerNamed("n").value(), nullptr);
    EXPECT_NE(readerNamed("n").value(), nullptr);
    unregister(first);
    EXPECT_EQ(writerNamed("n").value(), nullptr);
    EXPECT_EQ(readerNamed("n").value(), nullptr);
}

TEST_F(RegisterBackendTest, emptyNameIsRefused) {
    EXPECT_EQ(refusal(memoryBackend("")), "register_backend: the back-end has no name");
    EXPECT_EQ(serviceCount(), 0U);
}

TEST_F(RegisterBackendTest, filterCharactersAreRefusedAnywhereInTheName) {
    for (const char character : refusedCharacters) {
        for (const std::string& name :
             {std::string(1, character), character + std::string("b"),
              'a' + std::string(1, character), 'a' + std::string(1, character) + 'b'}) {
            EXPECT_EQ(refusal(memoryBackend(name)),
                      "register_backend: the name of the back-end \"" + name +
                          "\" contains * ( ) \\ or the delete character");
        }
    }
    EXPECT_EQ(serviceCount(), 0U);
}

TEST_F(RegisterBackendTest, everyOtherCharacterFindsItsOwnBackend) {
    std::vector<std::string> names;
    for (int code = 0; code < 256; ++code) {
        const char character = static_cast<char>(code);
        if (std::find(refusedCharacters.begin(), refusedCharacters.end(), character) ==
            refusedCharacters.end()) {
            names.push_back(character + std::string("b") + character);
        }
    }
    std::string found;
    for (const std::string& name : names) {
        Backend backend = memoryBackend(name);
        backend.createWriter = [&found, name](auto&&...) {
            found = name;
            return nullptr;
        };
        register_backend(context(), backend);
    }
    for (const std::string& name : names) {
        EXPECT_TRUE(writerNamed(name).has_value());
        EXPECT_EQ(found, name);
    }
}

TEST_F(RegisterBackendTest, missingFunctionIsRefused) {
    Backend backend = memoryBackend("n");
    backend.createReader = nullptr;
    EXPECT_EQ(refusal(backend), "register_backend: the back-end \"n\" has no createReader");
    backend.createWriter = nullptr;
    EXPECT_EQ(refusal(backend), "register_backend: the back-end \"n\" has no createWriter");
    EXPECT_EQ(serviceCount(), 0U);
}

TEST_F(RegisterBackendTest, invalidContextIsRefused) {
    EXPECT_THROW(register_backend({}, memoryBackend("n")), IllegalStateException);
    EXPECT_THROW(register_backends({}, {memoryBackend("n")}), IllegalStateException);
}

TEST_F(RegisterBackendTest, exceptionsOfTheFunctionsPropagateUnchanged) {
    Backend backend = memoryBackend("n");
    backend.createWriter = [](auto&&...) -> std::unique_ptr<StreamWriter> {
        throw std::domain_error("no licence");
    };
    backend.createReader = [](auto&&) -> std::unique_ptr<StreamReader> { throw 7; };
    register_backend(context(), backend);
    EXPECT_THAT([] { writerNamed("n"); },
                ::testing::ThrowsMessage<std::domain_error>("no licence"));
    EXPECT_THROW(readerNamed("n"), int);
}

TEST_F(RegisterBackendTest, nullFromAFunctionGivesAnOptionalNullPointer) {
    Backend backend = memoryBackend("n");
    backend.createWriter = [](auto&&...) { return nullptr; };
    backend.createReader = [](auto&&) { return nullptr; };
    register_backend(context(), backend);
    const auto writer = writerNamed("n");
    ASSERT_TRUE(writer.has_value());
    EXPECT_EQ(*writer, nullptr);
    const auto reader = readerNamed("n");
    ASSERT_TRUE(reader.has_value());
    EXPECT_EQ(*reader, nullptr);
}

TEST_F(RegisterBackendTest, everyListedBackendGetsTwoServices) {
    const BackendRegistrations registrations =
        register_backends(context(), {memoryBackend("a"), memoryBackend("b")});
    EXPECT_EQ(registrations.size(), 4U);
    for (const std::string name : {"a", "b"}) {
        EXPECT_TRUE(writerNamed(name).has_value()) << name;
        EXPECT_TRUE(readerNamed(name).has_value()) << name;
    }
}

TEST_F(RegisterBackendTest, listWithABadBackendRegistersNone) {
    Backend incomplete = memoryBackend("incomplete");
    incomplete.createReader = nullptr;
    EXPECT_THAT(
        [&] {
            register_backends(context(), {memoryBackend("a"), incomplete, memoryBackend("b")});
        },
        ::testing::ThrowsMessage<std::invalid_argument>(
            "register_backend: the back-end \"incomplete\" has no createReader"));
    EXPECT_EQ(serviceCount(), 0U);
}

TEST_F(RegisterBackendTest, threadsMayRegisterAndUnregisterAtOnce) {
    std::vector<std::thread> threads;
    for (const std::string name : {"a", "b"}) {
        threads.emplace_back([name] {
            for (int i = 0; i < 200; ++i) {
                BackendRegistrations registrations =
                    register_backend(context(), memoryBackend(name));
                EXPECT_TRUE(writerNamed(name).has_value());
                EXPECT_TRUE(readerNamed(name).has_value());
                unregister(registrations);
                EXPECT_FALSE(writerNamed(name).has_value());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(serviceCount(), 0U);
}

// Uses its own framework, because a stopped framework stays stopped.
TEST(RegisterBackendInAStoppingFrameworkTest, registrationSucceedsOrIsRefused) {
    for (int i = 0; i < 50; ++i) {
        cppmicroservices::Framework framework = cppmicroservices::FrameworkFactory().NewFramework();
        framework.Start();
        const cppmicroservices::BundleContext context = framework.GetBundleContext();
        std::thread stopping([&] {
            framework.Stop();
            framework.WaitForStop(std::chrono::milliseconds::zero());
        });
        try {
            while (true) {
                EXPECT_EQ(register_backend(context, memoryBackend("n")).size(), 2U);
            }
        } catch (const IllegalStateException&) {
        }
        stopping.join();
    }
}

} // namespace
} // namespace logging2::core::test
