#include <logging2/native/StreamMetadata.hpp>

namespace logging2::core {

using lang::core::ValuePath;

struct StreamMetadata::Block {
    std::map<ValuePath, ChannelProperties> channelMetadata;
    SequenceMap<std::size_t, RowLayout> logBufferData;
    std::map<std::size_t, std::size_t> groupChannels;
};

StreamMetadata::StreamMetadata(const std::map<ValuePath, ChannelProperties>& channelMetadata,
                               const SequenceMap<std::size_t, RowLayout>& logBufferData,
                               const std::map<std::size_t, std::size_t>& groupChannels)
    : block(std::make_unique<const Block>(Block{channelMetadata, logBufferData, groupChannels})) {}

StreamMetadata::StreamMetadata(StreamMetadata&& other) noexcept = default;
StreamMetadata& StreamMetadata::operator=(StreamMetadata&& other) noexcept = default;
StreamMetadata::~StreamMetadata() = default;

const StreamMetadata::Block& StreamMetadata::content() const {
    static const Block* const nothing = new Block;
    return block ? *block : *nothing;
}

const std::map<ValuePath, ChannelProperties>& StreamMetadata::channelMetadata() const {
    return content().channelMetadata;
}

const SequenceMap<std::size_t, RowLayout>& StreamMetadata::logBufferData() const {
    return content().logBufferData;
}

const std::map<std::size_t, std::size_t>& StreamMetadata::groupChannels() const {
    return content().groupChannels;
}

std::ostream& operator<<(std::ostream& stream, const StreamMetadata& metadata) {
    stream << "{";
    for (const auto& [group, count] : metadata.groupChannels()) {
        stream << " {Group: " << group << ", " << count << "}; ";
    }
    stream << " {";
    for (const auto& [path, properties] : metadata.channelMetadata()) {
        stream << " {" << path << ", " << properties.groupId() << ", " << properties.channelKey()
               << "};";
    }
    stream << " {";
    // Intended: the entries of this section have no opening brace.
    for (const auto& [group, layout] : metadata.logBufferData()) {
        stream << group << ", ";
        for (const auto& [channel, width] : layout) {
            stream << channel << "->" << width << ":";
        }
        stream << "}; ";
    }
    return stream << "}";
}

} // namespace logging2::core
