#include <tests/integration/support/process.hpp>

#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/support/files.hpp>

#include <sys/wait.h>

#include <cstdlib>

namespace integration {

using logging2::core::test::bytesOf;
using logging2::core::test::TemporaryDirectory;

ProcessResult run_simulate(const std::filesystem::path& directory, const std::string& arguments,
                           const std::string& prefix) {
    const TemporaryDirectory output;
    const std::string out = (output.path() / "out").string();
    const std::string err = (output.path() / "err").string();
    const std::string command = "cd '" + directory.string() + "' && { " + prefix + " '" +
                                SIMULATE_PROGRAM + "' " + arguments + "; } >'" + out + "' 2>'" +
                                err + "' </dev/null";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, bytesOf(out), bytesOf(err)};
}

} // namespace integration
