#pragma once

#include <string>
#include <utility>
#include <vector>

namespace foundation {

/// Names a text of the host's message catalogue by its catalogue and its key, and holds the text's
/// arguments.
class Message {
public:
    /// Makes a message with this catalogue, this key and these arguments.
    Message(std::string catalog, std::string key, std::vector<std::u16string> arguments)
        : catalogName(std::move(catalog)),
          messageKey(std::move(key)),
          messageArguments(std::move(arguments)) {}

    /// Returns the catalogue, for example "vantrel:common:logging2:core:common".
    const std::string& catalog() const noexcept { return catalogName; }

    /// Returns the key, for example "RollbackNotSupported".
    const std::string& key() const noexcept { return messageKey; }

    /// Returns the texts that replace the placeholders of the catalogue's sentence, in their order
    /// and in UTF-16.
    const std::vector<std::u16string>& arguments() const noexcept { return messageArguments; }

private:
    std::string catalogName;
    std::string messageKey;
    std::vector<std::u16string> messageArguments;
};

} // namespace foundation
