#pragma once

#include <logging2/host/lang/ValuePath.hpp>

#include <stdexcept>

namespace logging2::core::detail {

/// Returns the store of a path from a map by path. Throws std::out_of_range with the path in its
/// message if the map has none.
template <class Stores>
const typename Stores::mapped_type& store_of(const Stores& stores,
                                             const lang::core::ValuePath& path) {
    const auto store = stores.find(path);
    if (store == stores.end()) {
        throw std::out_of_range("dataStore: there is no data of the path \"" + path.text() +
                                "\": it is not in the setup, or flush was not called");
    }
    return store->second;
}

} // namespace logging2::core::detail
