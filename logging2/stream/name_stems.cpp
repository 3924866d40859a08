#include <logging2/stream/name_stems.hpp>

namespace logging2::core::detail {

const std::u16string& times_stem() {
    static const std::u16string* const stem = new std::u16string(u"times_");
    return *stem;
}

const std::u16string& values_stem() {
    static const std::u16string* const stem = new std::u16string(u"values_");
    return *stem;
}

} // namespace logging2::core::detail
