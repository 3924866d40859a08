#pragma once

#include <sys/mman.h>

#include <new>
#include <stdexcept>

namespace logging2::core::test {

/// A value that a process shares with the children that it forks, and that survives their death.
/// Its members should be atomics.
template <class Value>
class SharedValue {
public:
    SharedValue()
        : memory(mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                      -1, 0)) {
        if (memory == MAP_FAILED) {
            throw std::runtime_error("mmap");
        }
        value = new (memory) Value{};
    }
    ~SharedValue() { munmap(memory, sizeof(Value)); }
    SharedValue(const SharedValue&) = delete;
    SharedValue& operator=(const SharedValue&) = delete;

    Value& operator*() const noexcept { return *value; }
    Value* operator->() const noexcept { return value; }

private:
    void* memory;
    Value* value = nullptr;
};

} // namespace logging2::core::test
