#pragma once

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <new>
#include <stdexcept>

namespace logging2::core::test {

/// A value that a child process shares with the process that started it.
template <class Value>
class Shared {
public:
    Shared() {
        void* const memory =
            mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            throw std::runtime_error("mmap");
        }
        value = new (memory) Value();
    }

    ~Shared() { munmap(value, sizeof(Value)); }

    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    Value& operator*() const { return *value; }
    Value* operator->() const { return value; }

private:
    Value* value;
};

/// Runs the body in a child process whose standard error is discarded, and returns its wait status.
/// The exit code says whether an expectation of the body failed.
template <class Body>
int status_of_child(Body body) {
    std::cout << std::flush;
    const pid_t child = fork();
    if (child == 0) {
        const rlimit noCoreFile{0, 0};
        setrlimit(RLIMIT_CORE, &noCoreFile);
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        body();
        std::_Exit(::testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

inline bool exitedWithSuccess(int status) {
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

inline bool wasAborted(int status) {
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
}

} // namespace logging2::core::test
