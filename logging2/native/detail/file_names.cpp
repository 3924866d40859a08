#include <logging2/native/detail/file_names.hpp>

#include <logging2/stream/name_stems.hpp>

#include <algorithm>
#include <iterator>

namespace logging2::core::detail {
namespace {

using Path = fl::filesystem::basic_path<char, char16_t>;

std::u16string decimal(std::size_t number) {
    return widen_bytes(std::to_string(number));
}

} // namespace

Path times_file(const Path& uniquePath, std::size_t group) {
    return fl::filesystem::detail::make_native_form(uniquePath.text() + u"_" + times() +
                                                    decimal(group));
}

Path values_file(const Path& uniquePath, std::size_t group, std::size_t channel) {
    return fl::filesystem::detail::make_native_form(uniquePath.text() + u"_" + values() +
                                                    decimal(group) + u"_" + decimal(channel));
}

std::u16string widen_bytes(const std::string& bytes) {
    std::u16string widened;
    std::transform(bytes.begin(), bytes.end(), std::back_inserter(widened),
                   [](char byte) { return static_cast<char16_t>(static_cast<signed char>(byte)); });
    return widened;
}

} // namespace logging2::core::detail
