#pragma once

#include <string>
#include <utility>
#include <vector>

namespace foundation {

/// A text of the host's message catalogue, named by catalogue and key, with its arguments.
class Message {
public:
    /// Names the text; what catalog(), key() and arguments() are to answer.
    Message(std::string catalog, std::string key, std::vector<std::u16string> arguments)
        : catalogName(std::move(catalog)),
          messageKey(std::move(key)),
          messageArguments(std::move(arguments)) {}

    /// For example "vantrel:common:logging2:core:common".
    const std::string& catalog() const noexcept { return catalogName; }

    /// For example "RollbackNotSupported".
    const std::string& key() const noexcept { return messageKey; }

    /// The texts that the catalogue's sentence has places for, in their order, as UTF-16.
    const std::vector<std::u16string>& arguments() const noexcept { return messageArguments; }

private:
    std::string catalogName;
    std::string messageKey;
    std::vector<std::u16string> messageArguments;
};

} // namespace foundation
