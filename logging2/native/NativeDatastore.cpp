#include <logging2/native/NativeDatastore.hpp>

#include <logging2/host/foundation/text_conversion.hpp>

namespace logging2::core {

NativeDatastore::NativeDatastore(const std::u16string& times, const std::u16string& values)
    : record(std::make_shared<const Record>(Record{times, values})) {}

const std::u16string& NativeDatastore::timesLocation() const {
    return record->timesLocation;
}

const std::u16string& NativeDatastore::valuesLocation() const {
    return record->valuesLocation;
}

std::ostream& operator<<(std::ostream& stream, const NativeDatastore& store) {
    return stream << "{" << foundation::ustring_to_utf8_string(store.timesLocation()) << "; "
                  << foundation::ustring_to_utf8_string(store.valuesLocation()) << "}";
}

} // namespace logging2::core
