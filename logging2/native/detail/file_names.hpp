#pragma once

#include <logging2/host/filesystem/basic_path.hpp>

#include <cstddef>
#include <string>

namespace logging2::core::detail {

/// The full path of a group's times file: the writer's unique path + "_times_" + group.
fl::filesystem::basic_path<char, char16_t>
times_file(const fl::filesystem::basic_path<char, char16_t>& uniquePath, std::size_t group);

/// The full path of a channel's values file: the writer's unique path + "_values_" + group + "_" +
/// channel.
fl::filesystem::basic_path<char, char16_t>
values_file(const fl::filesystem::basic_path<char, char16_t>& uniquePath, std::size_t group,
            std::size_t channel);

/// Each byte as one UTF-16 unit, taken as signed: 0x80 to 0xFF become 0xFF80 to 0xFFFF.
///
/// Intended, though only ASCII survives: below a directory with other characters a store names no
/// times file, and a warning shows another name.
std::u16string widen_bytes(const std::string& bytes);

} // namespace logging2::core::detail
