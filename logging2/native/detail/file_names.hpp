#pragma once

#include <logging2/host/filesystem/basic_path.hpp>

#include <cstddef>
#include <string>

namespace logging2::core::detail {

/// Returns the full path of a group's times file: the writer's unique path + "_times_" + group.
fl::filesystem::basic_path<char, char16_t>
times_file(const fl::filesystem::basic_path<char, char16_t>& uniquePath, std::size_t group);

/// Returns the full path of a channel's values file: the writer's unique path + "_values_" + group
/// + "_" + channel.
fl::filesystem::basic_path<char, char16_t>
values_file(const fl::filesystem::basic_path<char, char16_t>& uniquePath, std::size_t group,
            std::size_t channel);

/// Returns the bytes as UTF-16 units. Each byte is taken as a signed number, so 0x80 to 0xFF become
/// 0xFF80 to 0xFFFF.
///
/// Intended, although only ASCII characters survive. Below a directory with other characters, a
/// store's times location names no file. A stream's name with other characters is altered in a
/// warning.
std::u16string widen_bytes(const std::string& bytes);

} // namespace logging2::core::detail
