#pragma once

#include <logging2/export.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/ChannelProperties.hpp>
#include <logging2/host/lang/ValuePath.hpp>

#include <cstddef>
#include <map>
#include <memory>
#include <ostream>
#include <utility>
#include <vector>

namespace logging2::core {

/// The channels of one group in row order. Each entry is the channel's number and its width, the
/// number of doubles that it contributes to a row.
using RowLayout = std::vector<std::pair<std::size_t, std::size_t>>;

/// Describes what a file-backed writer logs: its groups, channels and paths. The description never
/// changes, except that a move leaves the source empty. Moving is cheap.
class LOGGING2_EXPORT StreamMetadata {
public:
    /// Copies the two maps and shares the data of the sequence map.
    StreamMetadata(const std::map<lang::core::ValuePath, ChannelProperties>& channelMetadata,
                   const SequenceMap<std::size_t, RowLayout>& logBufferData,
                   const std::map<std::size_t, std::size_t>& groupChannels);
    /// Takes over the description. The source is empty afterwards.
    StreamMetadata(StreamMetadata&& other) noexcept;
    /// Takes over the description. The source is empty afterwards.
    StreamMetadata& operator=(StreamMetadata&& other) noexcept;
    ~StreamMetadata();

    /// Returns the group and the channel of each logged path. The reference is valid as long as
    /// this object lives and is not moved.
    const std::map<lang::core::ValuePath, ChannelProperties>& channelMetadata() const;

    /// Returns the row layout of each group, in the order of insertion. The reference is valid as
    /// long as this object lives and is not moved.
    const SequenceMap<std::size_t, RowLayout>& logBufferData() const;

    /// Returns the number of channels of each group. NativeStreamWriter counts the group's logged
    /// paths here. The reference is valid as long as this object lives and is not moved.
    const std::map<std::size_t, std::size_t>& groupChannels() const;

private:
    struct Block;
    LOGGING2_NO_EXPORT const Block& content() const;

    std::unique_ptr<const Block> block;
};

/// Prints the description for diagnostics, on one line and without a line break, such as
/// `{ {Group: 0, 2};  { {a, 0, 7}; {b, 0, 9}; {0, 7->1:9->3:}; }`.
LOGGING2_EXPORT std::ostream& operator<<(std::ostream& stream, const StreamMetadata& metadata);

} // namespace logging2::core
