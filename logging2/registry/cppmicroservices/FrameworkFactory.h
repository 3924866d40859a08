#pragma once

#include <cppmicroservices/Any.h>
#include <logging2/export.hpp>

#include <ostream>
#include <string>
#include <unordered_map>

namespace cppmicroservices {

class Framework;

/// Settings by name.
using FrameworkConfiguration = std::unordered_map<std::string, Any>;

/// Makes frameworks. The caller must keep the `Framework`, or it stops.
class LOGGING2_EXPORT FrameworkFactory {
public:
    /// A framework that is neither initialised nor started.
    Framework NewFramework();

    /// No setting has an effect, and nothing is written to `logger`.
    Framework NewFramework(const FrameworkConfiguration& configuration,
                           std::ostream* logger = nullptr);
};

} // namespace cppmicroservices
