#pragma once

#include <unistd.h>

#include <utility>

namespace logging2::tools {

/// Owns a file descriptor and closes it; -1 is none.
class Descriptor {
public:
    explicit Descriptor(int fileDescriptor = -1) noexcept : number(fileDescriptor) {}
    Descriptor(Descriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number != -1) {
            close(number);
        }
    }

    int get() const noexcept { return number; }

private:
    int number;
};

} // namespace logging2::tools
