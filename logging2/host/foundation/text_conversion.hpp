#pragma once

#include <logging2/export.hpp>

#include <string>
#include <string_view>

namespace foundation {

/// UTF-16 to UTF-8. Sequences that form no character are left out.
LOGGING2_EXPORT std::string ustring_to_utf8_string(std::u16string_view text);

/// UTF-8 to UTF-16. Sequences that form no character are left out.
LOGGING2_EXPORT std::u16string utf8_string_to_ustring(std::string_view text);

/// From the encoding of the platform's calls, which is UTF-8 here, to UTF-16.
LOGGING2_EXPORT std::u16string local_encoded_string_to_ustring(std::string_view text);

/// From UTF-16 to the encoding of the platform's calls, which is UTF-8 here.
LOGGING2_EXPORT std::string ustring_to_local_encoded_string(std::u16string_view text);

} // namespace foundation
