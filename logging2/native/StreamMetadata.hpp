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

/// The channels of one group in row order: the channel's number and its width, which is the number
/// of doubles that it contributes to a row.
using RowLayout = std::vector<std::pair<std::size_t, std::size_t>>;

/// What a file-backed writer logs. Immutable; moving it is cheap and leaves the source describing
/// nothing.
class LOGGING2_EXPORT StreamMetadata {
public:
    /// Copies the two maps and shares the sequence map's block.
    StreamMetadata(const std::map<lang::core::ValuePath, ChannelProperties>& channelMetadata,
                   const SequenceMap<std::size_t, RowLayout>& logBufferData,
                   const std::map<std::size_t, std::size_t>& groupChannels);
    /// Leaves the source describing nothing.
    StreamMetadata(StreamMetadata&& other) noexcept;
    /// Leaves the source describing nothing.
    StreamMetadata& operator=(StreamMetadata&& other) noexcept;
    ~StreamMetadata();

    /// For each logged path its group and its channel. The reference is valid while this lives.
    const std::map<lang::core::ValuePath, ChannelProperties>& channelMetadata() const;

    /// For each group, in the order of insertion, how its rows are laid out. The reference is
    /// valid while this lives.
    const SequenceMap<std::size_t, RowLayout>& logBufferData() const;

    /// For each group its number of channels as the writer counts them. The reference is valid
    /// while this lives.
    const std::map<std::size_t, std::size_t>& groupChannels() const;

private:
    struct Block;
    LOGGING2_NO_EXPORT const Block& content() const;

    std::unique_ptr<const Block> block;
};

/// One line for diagnostics, without a line break, such as
/// "{ {Group: 0, 2};  { {a, 0, 7}; {b, 0, 9}; {0, 7->1:9->3:}; }".
LOGGING2_EXPORT std::ostream& operator<<(std::ostream& stream, const StreamMetadata& metadata);

} // namespace logging2::core
