#pragma once

#include <logging2/host/foundation/BasicTableString.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core {

/// The configuration of a writer. Writers keep a copy of their own and never change it.
struct StreamingAttributes {
    /// Carried for the host, not read.
    bool hostFlag = false;

    /// The memory writers: a sample whose time is not later than the last one of its group first
    /// takes back the samples from its time on. The file-backed writer does not read it.
    bool rollbackOnTimeRegression = false;

    /// The restricted memory writer: how many steps it keeps per group. Not read by the others.
    std::size_t pointLimit = 0;

    /// Carried for the host, not read.
    std::uint64_t hostValue1 = 0;

    /// Carried for the host, not read.
    std::uint64_t hostValue2 = 0;

    /// The stream's name; the argument of the warning "RollbackNotSupported".
    BasicTableString<char> name;

    /// Carried for the host, not read.
    std::optional<std::vector<std::string>> hostStrings;
};

} // namespace logging2::core
