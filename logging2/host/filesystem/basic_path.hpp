#pragma once

#include <logging2/export.hpp>

#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace fl::filesystem {

template <class NativeChar, class Char>
class basic_path;

/// A path as a value. It holds UTF-16 text, whatever encoding the platform uses.
template <>
class basic_path<char, char16_t> {
public:
    /// Makes the empty path.
    basic_path() = default;

    /// Makes a path of exactly this text.
    explicit basic_path(std::u16string path) : characters(std::move(path)) {}

    /// Returns the text in UTF-16. The reference is valid until the path is changed or destroyed.
    const std::u16string& text() const noexcept { return characters; }
    /// Whether the path is empty.
    bool empty() const noexcept { return characters.empty(); }

    /// Whether the texts are equal. Nothing is resolved or normalised.
    friend bool operator==(const basic_path& a, const basic_path& b) noexcept {
        return a.characters == b.characters;
    }
    /// Whether the texts differ. Nothing is resolved or normalised.
    friend bool operator!=(const basic_path& a, const basic_path& b) noexcept { return !(a == b); }

private:
    std::u16string characters;
};

/// Prints the path in UTF-8.
LOGGING2_EXPORT std::ostream& operator<<(std::ostream& stream,
                                         const basic_path<char, char16_t>& path);

namespace detail {

/// Returns the text as a path with the platform's separators. On POSIX the text stays as it is. An
/// empty text gives the empty path.
LOGGING2_EXPORT basic_path<char, char16_t> make_native_form(std::u16string_view text);

/// Returns the right path below the left one. A separator is put between them unless the left path
/// ends with one. If one of the paths is empty, the other is returned.
LOGGING2_EXPORT basic_path<char, char16_t>
concatenate_pathname(const basic_path<char, char16_t>& left,
                     const basic_path<char, char16_t>& right);

/// Returns the path in the encoding of the platform's calls, which is UTF-8 on POSIX.
LOGGING2_EXPORT std::string make_native_access_form_i18n(const basic_path<char, char16_t>& path);

} // namespace detail

} // namespace fl::filesystem
