#pragma once

#include <cstddef>
#include <memory>

namespace logging2::core {

/// Where a logged path's data is found: its group and its channel.
///
/// A handle; copies share one immutable block, which may be released on any thread.
class ChannelProperties {
public:
    /// What groupId() and channelKey() are to answer.
    ChannelProperties(std::size_t groupId, std::size_t channelKey)
        : block(std::make_shared<const Block>(Block{groupId, channelKey, 0})) {}

    /// The id of the path's group.
    std::size_t groupId() const noexcept { return block->groupId; }

    /// The value of the path's CoreDataId.
    std::size_t channelKey() const noexcept { return block->channelKey; }

    /// A number that belongs to the host's kernel; 0 here.
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
