#pragma once

#include <logging2/conformance/conformance.hpp>
#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <logging2/conformance/detail/TmpdirVariable.hpp>
#include <logging2/conformance/detail/setups.hpp>
#include <logging2/host/foundation/Message.hpp>
#include <logging2/host/foundation/warnings.hpp>
#include <logging2/stream/StreamReader.hpp>
#include <logging2/stream/StreamReaderService.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamWriterService.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <gtest/gtest.h>

#include <boost/any.hpp>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core::conformance {

using Doubles = std::vector<double>;
using Series = std::pair<Doubles, Doubles>;
using lang::core::ValuePath;
using test::GroupSetup;

/// Attributes with a point limit that no promise exceeds by accident.
StreamingAttributes attributes(std::size_t pointLimit = 1000);

/// The same attributes with rollbackOnTimeRegression.
StreamingAttributes rolling_back(std::size_t pointLimit = 1000);

/// Registers the back-end while the session lives. Meanwhile an empty directory of the session's
/// own is the temporary directory of the host and of the environment.
class Session {
public:
    explicit Session(Subject underTest);
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Subject& subject() const { return tested; }

    /// Throws std::runtime_error if the back-end makes none. May be called on any thread.
    std::unique_ptr<StreamWriter> writer(const GroupSetup& setup = test::scalarSetup(),
                                         const StreamingAttributes& streaming = attributes()) const;

    /// Returns a new reader. Throws std::runtime_error if the back-end creates none. Any thread may
    /// call.
    std::unique_ptr<StreamReader> reader(const boost::any& dataStore) const;

    /// Returns the service that creates the writers. Calling the service takes no lock of the
    /// registry, because such a lock could hide a data race in the back-end.
    std::shared_ptr<StreamWriterService> writerService() const;

    /// Returns the service that creates the readers. Calling the service takes no lock of the
    /// registry.
    std::shared_ptr<StreamReaderService> readerService() const;

    /// The data of the writer's path. The reader lives until closeReaders(), because the first
    /// reader that is destroyed may delete data that other readers still need.
    Series read(const StreamWriter& writer, const std::string& path);

    void closeReaders() { openReaders.clear(); }

    /// Removes the services from the registry.
    void unregister();

    /// Returns the warnings that were issued so far.
    std::vector<foundation::Message> warnings() const;

    /// The directory in which the back-end may create files.
    const std::filesystem::path& temporaryDirectory() const { return directory.path(); }

private:
    Subject tested;
    test::SystemTempDirectory directory;
    test::TmpdirVariable environment{directory.path()};
    BackendRegistrations registrations;
    mutable std::mutex mutex;
    std::vector<foundation::Message> issued; // guarded by mutex
    foundation::WarningHandler formerHandler;
    std::vector<std::unique_ptr<StreamReader>> openReaders;
};

/// Sets the ranking of all services, which are registered under this name.
void set_ranking(BackendRegistrations& registrations, const std::string& name, int ranking);

/// Writes scalar samples whose values count the calls from `first`.
void write_calls(StreamWriter& writer, std::size_t group, const Doubles& times, double first = 1.0);

/// The `count` values first, first + 1, ...
Doubles numbers(std::size_t count, double first = 0.0);

/// Whether the series consists of these times and values, bit for bit.
testing::AssertionResult holds(const Series& series, const Doubles& times, const Doubles& values);

/// Returns a setup of the groups 0 to groupCount - 1. Group g has the scalar channel 100 + g, which
/// the path "x" + g shows.
GroupSetup scalar_groups(std::size_t groupCount);

} // namespace logging2::core::conformance
