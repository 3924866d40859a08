#include <examples/simulate/logging/RollbackWarnings.hpp>

#include <iostream>

namespace simulate {
namespace {

void pass_on(const foundation::WarningHandler& former, const foundation::Message& message) {
    if (former) {
        former(message);
    } else {
        std::cerr << "warning: " + message.key() + " [" + message.catalog() + "]\n";
    }
}

} // namespace

RollbackWarnings::RollbackWarnings()
    : warningCount(std::make_shared<std::atomic<std::size_t>>(0)),
      former(foundation::setWarningHandler({})) {
    foundation::setWarningHandler(
        [count = warningCount, former = former](const foundation::Message& message) {
            if (message.key() == "RollbackNotSupported") {
                ++*count;
            } else {
                pass_on(former, message);
            }
        });
}

RollbackWarnings::~RollbackWarnings() {
    foundation::setWarningHandler(former);
}

} // namespace simulate
