#pragma once

#include <logging2/host/foundation/warnings.hpp>

#include <utility>
#include <vector>

namespace logging2::core::test {

/// Keeps the warnings that are issued while it lives.
class WarningRecorder {
public:
    WarningRecorder() {
        former = foundation::setWarningHandler(
            [this](const foundation::Message& message) { warnings.push_back(message); });
    }
    ~WarningRecorder() { foundation::setWarningHandler(std::move(former)); }
    WarningRecorder(const WarningRecorder&) = delete;
    WarningRecorder& operator=(const WarningRecorder&) = delete;

    std::vector<foundation::Message> warnings;

private:
    foundation::WarningHandler former;
};

} // namespace logging2::core::test
