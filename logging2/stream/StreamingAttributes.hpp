#pragma once

#include <logging2/host/foundation/BasicTableString.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core {

/// The configuration of a writer. Each writer keeps its own copy and never changes it.
struct StreamingAttributes {
    /// A value of the host. The library copies it and never reads it.
    bool hostFlag = false;

    /// Whether a memory writer undoes steps by itself when time repeats or goes backwards. If true,
    /// a sample whose time is not later than the last time of its group replaces the samples from
    /// its own time on. If false, samples are appended as they come. NativeStreamWriter ignores it.
    bool rollbackOnTimeRegression = false;

    /// How many steps MemoryStreamRestrictedWriter keeps per group. The other built-in writers
    /// ignore it.
    std::size_t pointLimit = 0;

    /// A value of the host. The library copies it and never reads it.
    std::uint64_t hostValue1 = 0;

    /// A value of the host. The library copies it and never reads it.
    std::uint64_t hostValue2 = 0;

    /// The stream's name, which warnings such as "RollbackNotSupported" have as their argument.
    ///
    /// A checked back-end converts the name from UTF-8. NativeStreamWriter widens it byte by byte
    /// instead, so only ASCII names are readable in its warning.
    BasicTableString<char> name;

    /// Texts of the host. The library copies them and never reads them.
    std::optional<std::vector<std::string>> hostStrings;
};

} // namespace logging2::core
