#pragma once

#include <logging2/backends/checked/detail/CheckedSetup.hpp>
#include <logging2/backends/checked/detail/DrivingThread.hpp>
#include <logging2/stream/StreamWriter.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace logging2::core::detail {

/// Passes every call on to another writer. If a call is a mistake, it throws std::logic_error
/// instead. See register_checked_backend().
class CheckedStreamWriter final : public StreamWriter {
public:
    /// The inner writer must come from the back-end that the rules name, and from the same setup.
    CheckedStreamWriter(std::unique_ptr<StreamWriter> innerWriter, CheckedSetup checkedSetup,
                        CheckedRules checkedRules, std::string streamName);

    /// Flushes a stream that was not flushed, and issues a warning. If that flush throws, issues a
    /// second warning instead of throwing.
    ~CheckedStreamWriter() override;

    CheckedStreamWriter(const CheckedStreamWriter&) = delete;
    CheckedStreamWriter& operator=(const CheckedStreamWriter&) = delete;

    bool write(std::size_t group, double time, const double* values, std::size_t n) override;
    void rollback(std::size_t group, double time) override;
    boost::any dataStore(const lang::core::ValuePath& path) const override;
    std::optional<DataStoreInfo> dataStoreInfo() const override;
    void flush() override;
    void flushIntermediate() override;
    void close() override;

private:
    /// A stream counts as flushed as soon as `flush` starts, even if `flush` throws.
    enum class State { writing, closed, flushFailed, flushed };

    bool isFlushed() const { return state == State::flushFailed || state == State::flushed; }
    void warn(const char* key, const char* reason = nullptr) const noexcept;

    std::unique_ptr<StreamWriter> inner;
    State state = State::writing;
    mutable DrivingThread thread;
    CheckedSetup setup;
    CheckedRules rules;
    std::string name;
};

} // namespace logging2::core::detail
