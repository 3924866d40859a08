#include <logging2/backends/recording/detail/read_columns.hpp>

#include <atomic>
#include <exception>
#include <mutex>
#include <numeric>
#include <system_error>
#include <thread>

namespace logging2::core::detail {
namespace {

/// For fewer bytes, it is not worth while to start a thread.
constexpr std::size_t leastSharedByteCount = std::size_t{4} * 1024 * 1024;

std::size_t byte_count(const std::vector<ColumnPart>& parts) {
    return std::accumulate(parts.begin(), parts.end(), std::size_t{0},
                           [](std::size_t sum, const ColumnPart& part) {
                               return sum +
                                      part.count * part.chunk->layout->columns[part.column].width;
                           }) *
           sizeof(double);
}

/// The parts are taken one after the other, so all parts before one that has failed are read, too.
class ColumnsReader {
public:
    explicit ColumnsReader(const std::vector<ColumnPart>& allParts) : parts(allParts) {}

    void read() {
        if (parts.size() > 1 && byte_count(parts) >= leastSharedByteCount) {
            readWithHelper();
        } else {
            readParts();
        }
        if (failure) {
            std::rethrow_exception(failure);
        }
    }

private:
    /// Without a second thread, the calling one does everything.
    void readWithHelper() noexcept {
        std::thread helper;
        try {
            helper = std::thread([this] { readParts(); });
        } catch (const std::exception&) {
        }
        readParts();
        if (helper.joinable()) {
            helper.join();
        }
    }

    void readParts() noexcept {
        for (std::size_t k = next++; k < parts.size(); k = next++) {
            try {
                const ColumnPart& part = parts[k];
                part.chunk->reader.read(part.column, part.firstStep, part.count, part.to);
            } catch (...) {
                fail(k);
            }
        }
    }

    /// Keeps the exception of the first part that fails, and has no further ones taken.
    void fail(std::size_t part) noexcept {
        next = parts.size();
        const std::lock_guard<std::mutex> lock(mutex);
        if (!failure || part < failed) {
            failure = std::current_exception();
            failed = part;
        }
    }

    const std::vector<ColumnPart>& parts;
    std::atomic<std::size_t> next{0};
    std::mutex mutex;
    std::size_t failed = 0;     // guarded by the mutex
    std::exception_ptr failure; // guarded by the mutex while both threads read
};

} // namespace

void read_columns(const std::vector<ColumnPart>& parts) {
    ColumnsReader(parts).read();
}

} // namespace logging2::core::detail
