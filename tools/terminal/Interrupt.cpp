#include <tools/terminal/Interrupt.hpp>

namespace logging2::tools {
namespace {

volatile std::sig_atomic_t lastSignal = 0;

void remember(int signalNumber) {
    lastSignal = signalNumber;
}

} // namespace

Interrupted::Interrupted(int signalNumber)
    : std::runtime_error("interrupted"),
      number(signalNumber) {}

InterruptGuard::InterruptGuard() {
    lastSignal = 0;
    struct sigaction action {};
    action.sa_handler = remember;
    sigaction(SIGINT, &action, &formerInterrupt);
    sigaction(SIGTERM, &action, &formerTerminate);
}

InterruptGuard::~InterruptGuard() {
    sigaction(SIGINT, &formerInterrupt, nullptr);
    sigaction(SIGTERM, &formerTerminate, nullptr);
}

void InterruptGuard::check() {
    if (lastSignal != 0) {
        throw Interrupted(lastSignal);
    }
}

} // namespace logging2::tools
