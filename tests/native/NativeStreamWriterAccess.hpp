#pragma once

#include <logging2/native/NativeStreamWriter.hpp>

#include <cstddef>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace logging2::core::test {

/// Access to a writer's internals, so that tests can set small thresholds and drive the hand-off
/// step by step.
struct NativeStreamWriterAccess {
    static void setBufferSize(NativeStreamWriter& writer, std::size_t group, std::size_t rows) {
        writer.bufferSizes[group] = rows;
    }

    static std::size_t rowCount(NativeStreamWriter& writer, std::size_t group) {
        return writer.rowCounts.at(group);
    }

    static std::vector<double>& buffer(NativeStreamWriter& writer, std::size_t group) {
        return writer.groupBuffers.at(group);
    }

    static const std::deque<std::vector<double>>& columns(NativeStreamWriter& writer,
                                                          std::size_t group) {
        return writer.columns.at(group);
    }

    static bool hasColumns(const NativeStreamWriter& writer) { return !writer.columns.empty(); }
    static bool hasBuffers(const NativeStreamWriter& writer) {
        return !writer.groupBuffers.empty();
    }
    static bool hasThread(const NativeStreamWriter& writer) {
        return writer.writerThread != nullptr;
    }

    static void setTimesPath(NativeStreamWriter& writer, std::size_t group, std::string path) {
        writer.timesPaths[group] = std::move(path);
    }

    static void setValuesPath(NativeStreamWriter& writer, std::size_t channel, std::string path) {
        writer.valuesPaths[channel] = std::move(path);
    }

    static const std::vector<double>& slot(NativeStreamWriter& writer) {
        return writer.streamedBuffer;
    }

    static void requestStop(NativeStreamWriter& writer) {
        const std::lock_guard lock(writer.mutex);
        writer.stopRequested = true;
    }

    /// Runs the writer's thread body on a thread that first calls `prepare` and keeps its result
    /// until the end.
    template <class Prepare>
    static void startPrepared(NativeStreamWriter& writer, Prepare prepare) {
        writer.writerThread = std::make_unique<std::thread>([&writer, prepare] {
            const auto prepared = prepare();
            writer.writer();
        });
    }

    static std::mutex& mutex(NativeStreamWriter& writer) { return writer.mutex; }

    static bool isReady(NativeStreamWriter& writer) {
        const std::lock_guard lock(writer.mutex);
        return writer.dataReady;
    }

    static bool stopRequested(NativeStreamWriter& writer) {
        const std::lock_guard lock(writer.mutex);
        return writer.stopRequested;
    }

    static bool isWriting(NativeStreamWriter& writer) {
        const std::unique_lock lock(writer.mutex, std::try_to_lock);
        return !lock.owns_lock();
    }

    /// Returns when the thread has written the batch that was handed to it.
    static void waitUntilTaken(NativeStreamWriter& writer) {
        while (isReady(writer)) {
            std::this_thread::yield();
        }
    }

    /// Starts the writer's thread in place of the first hand-over. It runs the writer's own thread
    /// body as soon as the gate opens.
    static void startBehindGate(NativeStreamWriter& writer, std::future<void> gate) {
        writer.writerThread = std::make_unique<std::thread>([&writer, open = std::move(gate)] {
            open.wait();
            writer.writer();
        });
    }

    /// Likewise, but the thread starts its body when flush() requests its stop.
    static void startWhenStopIsRequested(NativeStreamWriter& writer) {
        writer.writerThread = std::make_unique<std::thread>([&writer] {
            while (!stopRequested(writer)) {
                std::this_thread::yield();
            }
            writer.writer();
        });
    }
};

using Access = NativeStreamWriterAccess;

} // namespace logging2::core::test
