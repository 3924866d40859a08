#pragma once

#include <logging2/logging2.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace simulate {

/// Where writers and readers come from: the service registry, by name, or the library's default.
///
/// What goes wrong comes out as HostError: the texts tell a back-end that is not there from one
/// that is there and failed.
class Backend {
public:
    using Setup =
        logging2::core::SequenceMap<logging2::core::Group, logging2::core::LoggedPathsSetupData>;

    /// The library's default writer and reader.
    Backend() = default;

    /// The back-end that is registered under the name.
    explicit Backend(std::string name) : registeredName(std::move(name)) {}

    /// For texts: the name, or "default".
    std::string label() const { return registeredName.value_or("default"); }

    std::unique_ptr<logging2::core::StreamWriter>
    openWriter(const logging2::core::StreamingAttributes& attributes, const Setup& setup) const;

    std::unique_ptr<logging2::core::StreamReader> openReader(const boost::any& dataStore) const;

private:
    std::optional<std::string> registeredName;
};

} // namespace simulate
