#pragma once

#include <logging2/native/NativeStreamWriter.hpp>

#include <tests/native/NativeStreamWriterAccess.hpp>
#include <tests/support/setups.hpp>

#include <future>
#include <memory>
#include <optional>
#include <utility>

namespace logging2::core::test {

/// A file-backed writer whose thread takes batches only when a script lets it, so that the result
/// does not depend on its speed. The destructor flushes it if necessary.
class DrivenWriter {
public:
    /// With `moved` the writer was assigned and constructed from other writers.
    DrivenWriter(const StreamingAttributes& attributes, const GroupSetup& setup, bool moved)
        : writer(std::make_unique<NativeStreamWriter>(attributes, setup)) {
        if (moved) {
            NativeStreamWriter between(StreamingAttributes{}, setup);
            between = std::move(*writer);
            writer = std::make_unique<NativeStreamWriter>(std::move(between));
        }
    }
    ~DrivenWriter() {
        if (!flushed) {
            flush();
        }
    }
    DrivenWriter(const DrivenWriter&) = delete;
    DrivenWriter& operator=(const DrivenWriter&) = delete;

    NativeStreamWriter* operator->() const { return writer.get(); }
    NativeStreamWriter& operator*() const { return *writer; }

    /// Makes the thread take nothing until the gate opens.
    void holdThread() {
        gate.emplace();
        Access::startBehindGate(*writer, gate->get_future());
    }

    void openGate() {
        if (gate) {
            gate->set_value();
            gate.reset();
        }
    }

    /// Waits until the thread has written what was handed to it, unless the thread is held.
    void settle() {
        if (!gate && Access::hasThread(*writer)) {
            Access::waitUntilTaken(*writer);
        }
    }

    void flush() {
        openGate();
        flushed = true;
        writer->flush();
    }

private:
    std::unique_ptr<NativeStreamWriter> writer;
    std::optional<std::promise<void>> gate;
    bool flushed = false;
};

} // namespace logging2::core::test
