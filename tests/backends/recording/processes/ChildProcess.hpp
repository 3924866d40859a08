#pragma once

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <utility>

namespace logging2::core::test {

/// A forked process that executes a function. It is killed at the end of the object.
class ChildProcess {
public:
    /// The child ends with status 0 behind the function, and with 1 if it throws.
    template <class Function>
    explicit ChildProcess(Function function) : id(fork()) {
        if (id == -1) {
            throw std::runtime_error("fork");
        }
        if (id == 0) {
            run(function);
        }
    }
    ChildProcess(ChildProcess&& other) noexcept
        : id(std::exchange(other.id, -1)),
          status(other.status) {}
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        if (id != -1) {
            signal(SIGKILL);
            wait();
        }
    }

    void signal(int number) const { kill(id, number); }

    /// Whether it has ended, by itself or by a signal.
    bool hasEnded() {
        if (id != -1 && waitpid(id, &status, WNOHANG) == id) {
            id = -1;
        }
        return id == -1;
    }

    /// Waits for its end and returns its status as waitpid() tells it.
    int wait() {
        if (!hasEnded()) {
            waitpid(std::exchange(id, -1), &status, 0);
        }
        return status;
    }

private:
    template <class Function>
    [[noreturn]] static void run(Function& function) {
        try {
            function();
            _exit(0);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "child process: %s\n", error.what());
            _exit(1);
        }
    }

    pid_t id; ///< -1 behind its end
    int status = -1;
};

} // namespace logging2::core::test
