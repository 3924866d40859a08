#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

#include <sys/types.h>

namespace logging2::core {

/// What a commit of a recording survives.
enum class Durability {
    /// The end of the process, in whatever way.
    process,
    /// Also the end of the machine: every commit waits until the disk has its bytes.
    power
};

/// How the samples of a recording are stored.
enum class Compression {
    /// As they are.
    none,
    /// Channels are packed with LZ4, without loss, if that makes them small enough.
    lz4,
    /// For a new recording that is made from another one: `lz4` if samples of the other one are
    /// packed. Otherwise like `none`.
    original
};

/// How recordings are written. Every member has a default.
struct RecordingOptions {
    /// Where the directories of recordings are made; created if it is missing, with its parents.
    std::string directory = ".";

    /// The permissions of a recording's directory. Its files have the same ones without the right
    /// to execute. The umask is not applied. The owner must be able to read, write and search.
    mode_t mode = 0700;

    /// Notes that are stored with the run and that tools show, such as the model.
    std::map<std::string, std::string> properties;

    /// The greatest number of bytes of a chunk, the steps of a group that are stored together. With
    /// three groups or more, chunks become smaller, down to 128 KiB for 32 groups. They become
    /// still smaller, down to one step, if the chunks of all groups would not fit into
    /// bufferByteCount.
    std::size_t chunkByteCount = std::size_t{2} * 1024 * 1024;

    /// How many bytes may wait to be written, in all groups together. When the buffers are full,
    /// `write` waits.
    std::size_t bufferByteCount = std::size_t{64} * 1024 * 1024;

    /// After this time the samples that were written meanwhile are committed, even if no chunk is
    /// full and the host makes no call. Such a commit makes small chunks, which need more space.
    std::chrono::milliseconds commitInterval{500};

    /// How many of the newest steps of each group readers do not see while the run goes on, because
    /// the solver may still reject them. `flushIntermediate`, `flush` and `close` show them all.
    std::size_t heldBackSteps = 16;

    /// What a commit survives.
    Durability durability = Durability::process;

    /// How the samples are stored. With `lz4`, a channel's values in a chunk are packed if that
    /// saves at least 15 % of their bytes.
    Compression compression = Compression::none;
};

} // namespace logging2::core
