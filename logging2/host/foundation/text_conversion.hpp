#pragma once

#include <logging2/export.hpp>

#include <string>
#include <string_view>

namespace foundation {

/// Returns the UTF-16 text in UTF-8. Invalid sequences are left out.
LOGGING2_EXPORT std::string ustring_to_utf8_string(std::u16string_view text);

/// Returns the UTF-8 text in UTF-16. Invalid sequences are left out.
LOGGING2_EXPORT std::u16string utf8_string_to_ustring(std::string_view text);

/// Returns the text in UTF-16. The text is in the encoding of the platform's calls, which is UTF-8
/// here.
LOGGING2_EXPORT std::u16string local_encoded_string_to_ustring(std::string_view text);

/// Returns the UTF-16 text in the encoding of the platform's calls, which is UTF-8 here.
LOGGING2_EXPORT std::string ustring_to_local_encoded_string(std::u16string_view text);

} // namespace foundation
