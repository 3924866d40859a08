#pragma once

#include <cstddef>
#include <memory>

namespace logging2::core {

/// The group and the channel of a logged path. They tell where the path's data is stored.
///
/// Copies share one immutable block, and they may be released on any thread.
class ChannelProperties {
public:
    /// Makes the properties of a path in this group and of this channel. hostValue() is 0.
    ChannelProperties(std::size_t groupId, std::size_t channelKey)
        : block(std::make_shared<const Block>(Block{groupId, channelKey, 0})) {}

    /// Returns the id of the path's group.
    std::size_t groupId() const noexcept { return block->groupId; }

    /// Returns the value of the path's CoreDataId.
    std::size_t channelKey() const noexcept { return block->channelKey; }

    /// Returns a number that belongs to the host's kernel. It is 0 here.
    std::size_t hostValue() const noexcept { return block->hostValue; }

private:
    struct Block {
        std::size_t groupId;
        std::size_t channelKey;
        std::size_t hostValue;
    };

    std::shared_ptr<const Block> block;
};

} // namespace logging2::core
