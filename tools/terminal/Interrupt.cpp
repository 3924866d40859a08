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
    for (std::size_t index = 0; index < signals.size(); ++index) {
        sigaction(signals[index], nullptr, &former[index]);
        // Programs such as nohup protect a command by letting it ignore a signal.
        if (former[index].sa_handler != SIG_IGN) {
            sigaction(signals[index], &action, nullptr);
        }
    }
}

InterruptGuard::~InterruptGuard() {
    for (std::size_t index = 0; index < signals.size(); ++index) {
        sigaction(signals[index], &former[index], nullptr);
    }
}

void InterruptGuard::check() {
    if (lastSignal != 0) {
        throw Interrupted(lastSignal);
    }
}

} // namespace logging2::tools
