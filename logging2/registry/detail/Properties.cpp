#include "Properties.hpp"

#include <cppmicroservices/Constants.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace cppmicroservices {
inline namespace logging2_registry {
namespace detail {
namespace {

int lower(char character) {
    return std::tolower(static_cast<unsigned char>(character));
}

int read_ranking(const Any* value) {
    if (value == nullptr) {
        return 0;
    }
    if (const int* ranking = any_cast<int>(value)) {
        return *ranking;
    }
    throw std::invalid_argument("SERVICE_RANKING property has unexpected value type.");
}

} // namespace

bool equal_ignoring_case(const std::string& left, const std::string& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

bool Properties::LessIgnoringCase::operator()(const std::string& left,
                                              const std::string& right) const {
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                        [](char a, char b) { return lower(a) < lower(b); });
}

Properties::Properties(const ServiceProperties& given, const ServiceProperties& fixed) {
    for (const auto& property : given) {
        if (!values.insert(property).second) {
            throw std::runtime_error("Properties contain case variants of the key: " +
                                     property.first);
        }
    }
    for (const auto& property : fixed) {
        values.erase(property.first);
        values.insert(property);
    }
    rank = read_ranking(find(Constants::SERVICE_RANKING));
}

const Any* Properties::find(const std::string& key) const {
    const auto found = values.find(key);
    return found == values.end() ? nullptr : &found->second;
}

} // namespace detail
} // namespace logging2_registry
} // namespace cppmicroservices
