#include <logging2/host/filesystem/basic_path.hpp>

#include <logging2/host/foundation/text_conversion.hpp>

namespace fl::filesystem {

using Path = basic_path<char, char16_t>;

std::ostream& operator<<(std::ostream& stream, const Path& path) {
    return stream << foundation::ustring_to_utf8_string(path.text());
}

namespace detail {

Path make_native_form(std::u16string_view text) {
    return Path(std::u16string(text));
}

Path concatenate_pathname(const Path& left, const Path& right) {
    if (left.empty() || right.empty()) {
        return left.empty() ? right : left;
    }
    std::u16string joined = left.text();
    if (joined.back() != u'/') {
        joined += u'/';
    }
    return Path(joined + right.text());
}

std::string make_native_access_form_i18n(const Path& path) {
    return foundation::ustring_to_local_encoded_string(path.text());
}

} // namespace detail

} // namespace fl::filesystem
