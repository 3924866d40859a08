#pragma once

#include <cstddef>

namespace logging2::core::bench {

/// One way to store, or to read, the rows of a workload.
class Contender {
public:
    Contender() = default;
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;
    virtual ~Contender() = default;

    /// Whatever is there before the first row comes. Not timed.
    virtual void prepare() {}

    /// Takes every row; a contender that reads, reads everything. Timed.
    virtual void run() = 0;

    /// What is left to do until the data can be read. Timed on its own.
    virtual void finish() {}

    /// Reads everything back and compares it; throws Mismatch where it differs. Returns how many
    /// rows are missing, which is 0 for all contenders that are not known to lose any.
    virtual std::size_t check() = 0;
};

} // namespace logging2::core::bench
