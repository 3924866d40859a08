#pragma once

#include <functional>

namespace cppmicroservices {

class FrameworkEvent;

/// Called on the thread that causes the event; what it throws is dropped.
using FrameworkListener = std::function<void(const FrameworkEvent&)>;

} // namespace cppmicroservices
