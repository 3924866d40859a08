#include <tools/view/StopSignals.hpp>

#include <sys/signalfd.h>

#include <cerrno>
#include <system_error>

namespace logging2::tools::view {

StopSignals::StopSignals() {
    sigset_t stopping;
    sigemptyset(&stopping);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&stopping, number);
    }
    signals = Descriptor(signalfd(-1, &stopping, SFD_CLOEXEC | SFD_NONBLOCK));
    if (signals.get() == -1) {
        throw std::system_error(errno, std::generic_category(), "signals cannot be caught");
    }
    pthread_sigmask(SIG_BLOCK, &stopping, &former);
}

StopSignals::~StopSignals() {
    // The one that has come was meant for the server, which has ended.
    signalfd_siginfo ignored{};
    while (read(signals.get(), &ignored, sizeof ignored) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

} // namespace logging2::tools::view
