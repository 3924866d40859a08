#pragma once

#include <logging2/export.hpp>

#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace fl::filesystem {

template <class NativeChar, class Char>
class basic_path;

/// A path as a value: UTF-16 text, whatever the platform's own encoding.
template <>
class basic_path<char, char16_t> {
public:
    /// The empty path.
    basic_path() = default;

    /// A path of this text, unchanged.
    explicit basic_path(std::u16string path) : characters(std::move(path)) {}

    /// The text as UTF-16; valid while the path lives unchanged.
    const std::u16string& text() const noexcept { return characters; }
    /// Whether it is the empty path.
    bool empty() const noexcept { return characters.empty(); }

    /// Whether the texts are equal; nothing is resolved or normalised.
    friend bool operator==(const basic_path& a, const basic_path& b) noexcept {
        return a.characters == b.characters;
    }
    /// The opposite.
    friend bool operator!=(const basic_path& a, const basic_path& b) noexcept { return !(a == b); }

private:
    std::u16string characters;
};

/// As UTF-8.
LOGGING2_EXPORT std::ostream& operator<<(std::ostream& stream,
                                         const basic_path<char, char16_t>& path);

namespace detail {

/// The text as a path with the platform's separators, which are those of the text on POSIX. An
/// empty text gives the empty path.
LOGGING2_EXPORT basic_path<char, char16_t> make_native_form(std::u16string_view text);

/// The right path below the left one, with one separator between them; where one is empty, the
/// other.
LOGGING2_EXPORT basic_path<char, char16_t>
concatenate_pathname(const basic_path<char, char16_t>& left,
                     const basic_path<char, char16_t>& right);

/// The bytes by which the platform's calls know the path; UTF-8 on POSIX.
LOGGING2_EXPORT std::string make_native_access_form_i18n(const basic_path<char, char16_t>& path);

} // namespace detail

} // namespace fl::filesystem
