#pragma once

#include <hdf5.h>

#include <tuple>
#include <utility>

namespace logging2::tools {

/// An object of the HDF5 library, which is closed at its end.
class Hdf5Handle {
public:
    using Close = herr_t (*)(hid_t);

    Hdf5Handle() = default;
    Hdf5Handle(hid_t object, Close closeFunction) noexcept : id(object), close(closeFunction) {}
    ~Hdf5Handle() { std::ignore = release(); }

    Hdf5Handle(Hdf5Handle&& other) noexcept
        : id(std::exchange(other.id, H5I_INVALID_HID)),
          close(other.close) {}
    Hdf5Handle& operator=(Hdf5Handle&& other) noexcept {
        std::swap(id, other.id);
        std::swap(close, other.close);
        return *this;
    }

    hid_t get() const noexcept { return id; }

    /// Closes the object; negative if something could not be written.
    herr_t release() noexcept {
        const hid_t object = std::exchange(id, H5I_INVALID_HID);
        return object < 0 ? 0 : close(object);
    }

private:
    hid_t id = H5I_INVALID_HID;
    Close close = nullptr;
};

} // namespace logging2::tools
