#include <logging2/backends/checked/detail/DrivingThread.hpp>

#include <stdexcept>
#include <string>

namespace logging2::core::detail {

void DrivingThread::Call::fail(const char* operation) {
    throw std::logic_error(std::string(operation) +
                           ": another thread is inside a call of this writer, but only one thread "
                           "at a time may use it");
}

} // namespace logging2::core::detail
