#pragma once

#include <hdf5.h>

#include <stdexcept>
#include <utility>

namespace logging2::core::bench {

/// Returns the result of an HDF5 call. Throws std::runtime_error if the call failed.
template <class Result>
Result hdf5_require(Result result) {
    if (result < 0) {
        throw std::runtime_error("an HDF5 call failed");
    }
    return result;
}

/// Owns one HDF5 identifier, and closes it with the function for its type.
class Hdf5Handle {
public:
    using Close = herr_t (*)(hid_t);

    Hdf5Handle(hid_t id, Close closeFunction)
        : identifier(hdf5_require(id)),
          close(closeFunction) {}
    Hdf5Handle(Hdf5Handle&& other) noexcept
        : identifier(std::exchange(other.identifier, H5I_INVALID_HID)),
          close(other.close) {}
    Hdf5Handle& operator=(Hdf5Handle&&) = delete;
    ~Hdf5Handle() {
        if (identifier >= 0) {
            close(identifier);
        }
    }

    hid_t get() const { return identifier; }

private:
    hid_t identifier;
    Close close;
};

} // namespace logging2::core::bench
