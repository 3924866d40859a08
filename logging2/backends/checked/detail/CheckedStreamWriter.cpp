#include <logging2/backends/checked/detail/CheckedStreamWriter.hpp>

#include <logging2/backends/checked/detail/wording.hpp>
#include <logging2/host/foundation/text_conversion.hpp>
#include <logging2/host/foundation/warnings.hpp>

#include <array>
#include <charconv>
#include <exception>
#include <stdexcept>
#include <utility>

namespace logging2::core::detail {
namespace {

/// Returns the shortest text that identifies the time exactly.
std::string text_of(double time) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), time);
    return std::string(digits.data(), end.ptr);
}

std::string wanted_rollback(std::size_t group, double time) {
    return "group " + std::to_string(group) + " was to go back to time " + text_of(time);
}

} // namespace

CheckedStreamWriter::CheckedStreamWriter(std::unique_ptr<StreamWriter> innerWriter,
                                         CheckedSetup checkedSetup, CheckedRules checkedRules,
                                         std::string streamName)
    : inner(std::move(innerWriter)),
      setup(std::move(checkedSetup)),
      rules(std::move(checkedRules)),
      name(std::move(streamName)) {}

CheckedStreamWriter::~CheckedStreamWriter() {
    if (isFlushed()) {
        return;
    }
    // The warning comes first, because the flush may end the process.
    warn("DestroyedWithoutFlush");
    try {
        inner->flush();
    } catch (const std::exception& error) {
        warn("FlushInDestructorFailed", error.what());
    } catch (...) {
        warn("FlushInDestructorFailed", "an exception of an unknown type");
    }
}

bool CheckedStreamWriter::write(std::size_t group, double time, const double* values,
                                std::size_t n) {
    const DrivingThread::Call call(thread, "write");
    setup.checkRow(group, values, n);
    if (state != State::writing) {
        throw std::logic_error("write: a sample of group " + std::to_string(group) + " at time " +
                               text_of(time) + " was passed after flush or close");
    }
    return inner->write(group, time, values, n);
}

void CheckedStreamWriter::rollback(std::size_t group, double time) {
    const DrivingThread::Call call(thread, "rollback");
    setup.checkGroup("rollback", group);
    if (state != State::writing) {
        throw std::logic_error("rollback: " + wanted_rollback(group, time) +
                               " after flush or close");
    }
    if (rules.refusesRollback) {
        throw std::logic_error("rollback: the back-end " + in_quotes(rules.backend) +
                               " cannot discard samples, but " + wanted_rollback(group, time));
    }
    inner->rollback(group, time);
}

boost::any CheckedStreamWriter::dataStore(const lang::core::ValuePath& path) const {
    const DrivingThread::Call call(thread, "dataStore");
    setup.checkPath(path);
    if (!isFlushed()) {
        throw std::logic_error("dataStore: the path " + in_quotes(path) +
                               " was asked for before flush");
    }
    return inner->dataStore(path);
}

std::optional<DataStoreInfo> CheckedStreamWriter::dataStoreInfo() const {
    const DrivingThread::Call call(thread, "dataStoreInfo");
    return inner->dataStoreInfo();
}

void CheckedStreamWriter::flush() {
    const DrivingThread::Call call(thread, "flush");
    if (isFlushed()) {
        throw std::logic_error("flush: the stream was flushed before, by flush or by close");
    }
    state = State::flushFailed;
    inner->flush();
    state = State::flushed;
}

void CheckedStreamWriter::flushIntermediate() {
    const DrivingThread::Call call(thread, "flushIntermediate");
    if (state == State::closed || state == State::flushed) {
        throw std::logic_error("flushIntermediate: the stream was flushed or closed before");
    }
    inner->flushIntermediate();
}

void CheckedStreamWriter::close() {
    const DrivingThread::Call call(thread, "close");
    if (isFlushed()) {
        inner->close();
        return;
    }
    state = rules.closeFlushes ? State::flushFailed : State::closed;
    inner->close();
    state = rules.closeFlushes ? State::flushed : State::closed;
}

void CheckedStreamWriter::warn(const char* key, const char* reason) const noexcept {
    try {
        std::vector<std::u16string> arguments{foundation::utf8_string_to_ustring(name)};
        if (reason != nullptr) {
            arguments.push_back(foundation::utf8_string_to_ustring(reason));
        }
        foundation::issueWarning({"vantrel:common:logging2:core:common", key, arguments});
    } catch (...) {
        // The destructor must not throw.
    }
}

} // namespace logging2::core::detail
