#pragma once

#include <logging2/export.hpp>

#include <cstdint>
#include <exception>
#include <string>

namespace cppmicroservices {

/// Something that happened to a framework or to one of its services.
class LOGGING2_EXPORT FrameworkEvent {
public:
    /// What happened; the values are those of CppMicroServices.
    enum Type : std::uint32_t {
        FRAMEWORK_STARTED = 0x00000001,
        FRAMEWORK_ERROR = 0x00000002,
        FRAMEWORK_WARNING = 0x00000010,
        FRAMEWORK_INFO = 0x00000020,
        FRAMEWORK_STOPPED = 0x00000040,
        FRAMEWORK_WAIT_TIMEDOUT = 0x00000200
    };

    /// An event of the type, with what GetMessage() and GetThrowable() are to answer.
    explicit FrameworkEvent(Type type, std::string message = {},
                            std::exception_ptr throwable = nullptr);

    /// What happened.
    Type GetType() const;
    /// A sentence for people; may be empty.
    std::string GetMessage() const;

    /// The exception behind an error or a warning; null for other events.
    std::exception_ptr GetThrowable() const;

private:
    Type type;
    std::string message;
    std::exception_ptr throwable;
};

} // namespace cppmicroservices
