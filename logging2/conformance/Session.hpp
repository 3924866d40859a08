#pragma once

#include <logging2/conformance/Backend.hpp>

#include <logging2/logging2.hpp>
#include <tests/support/SystemTempDirectory.hpp>
#include <tests/support/setups.hpp>

#include <gtest/gtest.h>

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

/// Attributes with a history that no promise exceeds by accident.
StreamingAttributes attributes(std::size_t pointLimit = 1000);

/// The back-end, registered and with a temporary directory of its own as long as the session lives.
class Session {
public:
    explicit Session(Backend underTest);
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const Backend& backend() const { return registered; }

    /// Throws std::runtime_error where the back-end gives none. Any thread may call.
    std::unique_ptr<StreamWriter> writer(const GroupSetup& setup = test::scalarSetup(),
                                         const StreamingAttributes& streaming = attributes()) const;

    /// Likewise.
    std::unique_ptr<StreamReader> reader(const boost::any& dataStore) const;

    /// The data of the writer's path. The reader lives until closeReaders(), because the first one
    /// that goes may take along what the others are still to read.
    Series read(const StreamWriter& writer, const std::string& path);

    void closeReaders() { openReaders.clear(); }

    /// Takes the services out of the registry.
    void unregister();

    /// The warnings so far.
    std::vector<foundation::Message> warnings() const;

    /// Where the back-end may put files.
    const std::filesystem::path& temporaryDirectory() const { return directory.path(); }

private:
    Backend registered;
    test::SystemTempDirectory directory;
    Registrations registrations;
    mutable std::mutex mutex;
    std::vector<foundation::Message> issued; // guarded by mutex
    foundation::WarningHandler formerHandler;
    std::vector<std::unique_ptr<StreamReader>> openReaders;
};

/// Writes scalar samples; the value tells the position of the call, counted from `first`.
void write_calls(StreamWriter& writer, std::size_t group, const Doubles& times, double first = 1.0);

/// Whether the series is made of these times and values, bit for bit.
testing::AssertionResult holds(const Series& series, const Doubles& times, const Doubles& values);

/// Groups 0 to N - 1; group g has the scalar channel 100 + g, shown by the path "x" + g.
GroupSetup scalar_groups(std::size_t groupCount);

} // namespace logging2::core::conformance
