#pragma once

#include <logging2/logging2.hpp>

#include <cstddef>
#include <utility>
#include <vector>

namespace integration {

/// Starts the service framework and registers, once per process, the built-in back-ends, their
/// checked ones and these of the tests:
/// - "declining" keeps the steps that it is asked to take back, and warns;
/// - "single-use" gives up a group's data with the first of its readers that goes;
/// - "makes-nothing" makes null pointers, "throws" throws, "out-of-memory" runs out of memory;
/// - "no-reader" has a writer only;
/// - "short" gives back one value too few.
void register_test_backends();

/// How often writers of "single-use" were flushed, and how many of its readers were opened and
/// are gone, since the process began.
struct SingleUseCounts {
    std::size_t flushes = 0;
    std::size_t readersOpened = 0;
    std::size_t readersGone = 0;
};
const SingleUseCounts& single_use_counts();

/// Passes everything on to a memory writer and remembers what was taken back.
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

    /// What write() answers.
    bool accepts = true;
    std::vector<Step> kept;
    std::vector<Step> takenBack;

private:
    logging2::core::MemoryStreamWriter target;
};

} // namespace integration
