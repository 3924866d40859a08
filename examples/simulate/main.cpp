#include <examples/simulate/host.hpp>
#include <logging2/backends/builtin/builtin_backends.hpp>
#ifdef SIMULATE_WITH_COLUMNAR
#include <logging2/backends/columnar/columnar.hpp>
#endif
#include <logging2/logging2.hpp>

#include <unistd.h>

#include <csignal>
#include <iostream>

int main(int argc, char** argv) {
    // A closed pipe is reported like any other failed write.
    std::signal(SIGPIPE, SIG_IGN);
    foundation::install_and_start_vantrel_core();
    logging2::core::register_builtin_backends(foundation::get_global_bundle_context());
#ifdef SIMULATE_WITH_COLUMNAR
    logging2::core::register_columnar_backend(foundation::get_global_bundle_context());
#endif
    const bool terminal = isatty(STDERR_FILENO) != 0;
    const int status = simulate::run_program(argc, argv, std::cout, std::cerr, terminal);
    foundation::stop_vantrel_core();
    return status;
}
