#include <logging2/conformance/conformance.hpp>

#include <dlfcn.h>

#include <iostream>
#include <map>
#include <stdexcept>

// Holds the back-end of a shared library to its promises:
//
//     backend_conformance LIBRARY NAME [WHAT IT SUPPORTS...] [--gtest_...]
//
// The library exports the C function `register_backend`, as examples/custom_backend does.

namespace logging2::core::conformance {
namespace {

using RegisterBackend = void(cppmicroservices::BundleContext&, Registrations&);

/// Set before GoogleTest asks for the cases.
Backend& backend_under_test() {
    static Backend backend;
    return backend;
}

/// The library is never closed: what it made may outlive everything else.
RegisterBackend* load(const std::string& library) {
    void* const handle = dlopen(library.c_str(), RTLD_NOW);
    void* const function = handle == nullptr ? nullptr : dlsym(handle, "register_backend");
    if (function == nullptr) {
        throw std::invalid_argument(dlerror());
    }
    return reinterpret_cast<RegisterBackend*>(function);
}

bool& support_named(Supports& supports, const std::string& word) {
    const std::map<std::string, bool*> words{
        {"rollback", &supports.rollback},
        {"rollbackOnTimeRegression", &supports.rollbackOnTimeRegression},
        {"pointLimit", &supports.pointLimit},
        {"closeFlushes", &supports.closeFlushes},
        {"readersDelete", &supports.readersDelete},
        {"dataStoreInfo", &supports.dataStoreInfo},
    };
    const auto found = words.find(word);
    if (found == words.end()) {
        throw std::invalid_argument("nothing is supported under the name " + word);
    }
    return *found->second;
}

Backend backend_of(const std::vector<std::string>& arguments) {
    if (arguments.size() < 2) {
        throw std::invalid_argument("usage: backend_conformance LIBRARY NAME [SUPPORT...]");
    }
    Supports supports;
    for (std::size_t i = 2; i < arguments.size(); ++i) {
        support_named(supports, arguments[i]) = true;
    }
    RegisterBackend* const registerBackend = load(arguments[0]);
    return {arguments[1], supports, [registerBackend](cppmicroservices::BundleContext context) {
                Registrations registrations;
                registerBackend(context, registrations);
                return registrations;
            }};
}

INSTANTIATE_TEST_SUITE_P(Loaded, ConformanceTest, testing::ValuesIn(cases_of(backend_under_test())),
                         case_name);

} // namespace
} // namespace logging2::core::conformance

int main(int argc, char** argv) {
    using namespace logging2::core::conformance;
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]).rfind("--gtest_", 0) != 0) {
            arguments.emplace_back(argv[i]);
        }
    }
    try {
        backend_under_test() = backend_of(arguments);
    } catch (const std::invalid_argument& error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
    testing::InitGoogleTest(&argc, argv);
    // It takes out what it knows; with an option that it does not it would run nothing and succeed.
    if (static_cast<std::size_t>(argc) != 1 + arguments.size()) {
        std::cerr << "GoogleTest has no such option\n";
        return 2;
    }
    return RUN_ALL_TESTS();
}
