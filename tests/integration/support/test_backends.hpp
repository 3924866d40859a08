#pragma once

#include <logging2/logging2.hpp>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace integration {

/// Starts the service framework and registers, once per process, the built-in back-ends, their
/// checked variants and these back-ends of the tests:
/// - "declining" keeps the steps that a rollback should discard, and warns;
/// - "single-use" deletes a group's data with the first of its readers that is destroyed;
/// - "makes-nothing" makes null pointers, "throws" throws, "out-of-memory" runs out of memory;
/// - "no-reader" has only a writer;
/// - "short" returns one value too few.
/// It also registers "columnar" and "recording" and their checked variants, if this build has them;
/// the recordings are deleted at the end of the process.
void register_test_backends();

/// The names of the back-ends that the program offers in this build.
std::vector<std::string> backend_names();

/// The number of flushes of "single-use" writers, and of its readers that were opened and
/// destroyed, since the start of the process.
struct SingleUseCounts {
    std::size_t flushes = 0;
    std::size_t readersOpened = 0;
    std::size_t readersDestroyed = 0;
};
const SingleUseCounts& single_use_counts();

/// Forwards everything to a memory writer and remembers the discarded steps.
class SpyWriter final : public logging2::core::StreamWriter {
public:
    using Step = std::pair<double, std::vector<double>>;

    explicit SpyWriter(const logging2::core::SequenceMap<
                       logging2::core::Group, logging2::core::LoggedPathsSetupData>& setup);

    bool write(std::size_t group, double time, const double* values, std::size_t n) override;
    void rollback(std::size_t group, double time) override;
    boost::any dataStore(const lang::core::ValuePath& path) const override;
    std::optional<logging2::core::DataStoreInfo> dataStoreInfo() const override;
    void flush() override;
    void flushIntermediate() override;
    void close() override;

    /// The result of write().
    bool accepts = true;
    std::vector<Step> kept;
    std::vector<Step> discarded;

private:
    logging2::core::MemoryStreamWriter target;
};

} // namespace integration
