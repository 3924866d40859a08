#pragma once

#include <logging2/backends/recording/RecordingError.hpp>

#include <cerrno>

namespace logging2::core::detail {

/// Thrown if a recording cannot be read now, which says nothing about whether it is whole: this
/// process lacks permission, file descriptors or room for temporary files, or a host is writing the
/// recording where nobody else can read meanwhile.
class AccessFault : public RecordingError {
public:
    using RecordingError::RecordingError;
};

/// Whether an error number means that.
inline bool is_access_fault(int error) noexcept {
    return error == EACCES || error == EPERM || error == EMFILE || error == ENFILE ||
           error == ENOMEM;
}

} // namespace logging2::core::detail
