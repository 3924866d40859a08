#include <logging2/host/foundation/text_conversion.hpp>

#include <boost/locale/encoding_utf.hpp>

namespace foundation {

using boost::locale::conv::utf_to_utf;

std::string ustring_to_utf8_string(std::u16string_view text) {
    return utf_to_utf<char>(text.data(), text.data() + text.size());
}

std::u16string utf8_string_to_ustring(std::string_view text) {
    return utf_to_utf<char16_t>(text.data(), text.data() + text.size());
}

std::u16string local_encoded_string_to_ustring(std::string_view text) {
    return utf8_string_to_ustring(text);
}

std::string ustring_to_local_encoded_string(std::u16string_view text) {
    return ustring_to_utf8_string(text);
}

} // namespace foundation
