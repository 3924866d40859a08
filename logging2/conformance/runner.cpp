#include <logging2/conformance/conformance.hpp>

#include <logging2/host/foundation/bundle_context.hpp>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <stdexcept>

// The program logging2-conformance, which checks a back-end that a shared library offers.

namespace logging2::core::conformance {
namespace {

struct Capability {
    const char* word;
    bool Supports::*member;
    const char* meaning;
};

constexpr Capability capabilities[] = {
    {"rollbackOnTimeRegression", &Supports::rollbackOnTimeRegression,
     "the attribute rollbackOnTimeRegression is obeyed"},
    {"pointLimit", &Supports::pointLimit, "the attribute pointLimit bounds the history"},
    {"closeFlushes", &Supports::closeFlushes,
     "close makes the samples final if flush was not called"},
    {"readersDelete", &Supports::readersDelete,
     "the first reader that is destroyed deletes the data of its path"},
    {"dataStoreInfo", &Supports::dataStoreInfo, "dataStoreInfo has a value after flush"},
};

const char* const usage =
    "usage: logging2-conformance LIBRARY [NAME] [CAPABILITY...] [--gtest_OPTION...]\n";

void print_help() {
    std::cout << usage << R"(
Loads a shared library and checks that one of its back-ends keeps the promises of
logging2's interfaces. Every promise is one test of GoogleTest.

  LIBRARY      a shared library that exports the function logging2_backends; a
               path with a slash, such as ./libmine.so
  NAME         the name of the back-end; needed if the library offers several
  CAPABILITY   what the back-end supports in addition to its BackendInfo:

)";
    for (const Capability& capability : capabilities) {
        std::cout << "    " << std::left << std::setw(26) << capability.word << capability.meaning
                  << '\n';
    }
    std::cout << R"(
               A capability that is not given must have no effect; this is checked
               as well. If supportsRollback is true in the back-end's BackendInfo,
               it must undo steps.
  --gtest_...  an option of GoogleTest, such as --gtest_filter='*rollback*'

The exit status is 0 if every promise is kept, 1 if one is broken, and 2 if
nothing was checked.

To find data races as well, build logging2, this program and the back-end with
-fsanitize=thread.

Example:
  logging2-conformance ./libon_change.so on-change rollbackOnTimeRegression closeFlushes
)";
}

const Capability* find_capability(const std::string& word) {
    const auto* const found =
        std::find_if(std::begin(capabilities), std::end(capabilities),
                     [&](const Capability& capability) { return word == capability.word; });
    return found == std::end(capabilities) ? nullptr : found;
}

/// Returns the words in quotes, separated by commas.
template <class Words, class TextOf>
std::string listed(const Words& words, TextOf textOf) {
    std::string list;
    for (const auto& word : words) {
        list += (list.empty() ? "\"" : ", \"") + std::string(textOf(word)) + '"';
    }
    return list;
}

Supports supports_of(const std::vector<std::string>& words) {
    Supports supports;
    for (const std::string& word : words) {
        const Capability* const capability = find_capability(word);
        if (capability == nullptr) {
            throw std::invalid_argument(
                '"' + word + "\" is not a capability; the capabilities are " +
                listed(capabilities, [](const Capability& known) { return known.word; }));
        }
        supports.*capability->member = true;
    }
    return supports;
}

/// Says which capabilities were not given, so that nobody mistakes a missing word for a fault.
void hint_at_capabilities(const Supports& supports) {
    std::vector<Capability> absent;
    std::copy_if(std::begin(capabilities), std::end(capabilities), std::back_inserter(absent),
                 [&](const Capability& capability) { return !(supports.*capability.member); });
    if (!absent.empty()) {
        std::cerr << "logging2-conformance: these capabilities were not given, so they must have "
                     "no effect: "
                  << listed(absent, [](const Capability& known) { return known.word; })
                  << "; see --help\n";
    }
}

/// Returns descriptions of the back-ends that the library offers.
std::vector<BackendInfo> backends_of(const std::string& library) {
    foundation::install_and_start_vantrel_core();
    const auto context = foundation::get_global_bundle_context();
    BackendRegistrations registrations = load_backends(library, context);
    std::vector<BackendInfo> backends = registered_backends(context);
    for (cppmicroservices::ServiceRegistrationU& registration : registrations) {
        registration.Unregister();
    }
    return backends;
}

/// Returns the back-end of this name, or the only one if the name is empty.
BackendInfo backend_named(const std::string& name, const std::string& library) {
    const std::vector<BackendInfo> backends = backends_of(library);
    if (name.empty() && backends.size() == 1) {
        return backends.front();
    }
    const auto found = std::find_if(backends.begin(), backends.end(),
                                    [&](const BackendInfo& info) { return info.name == name; });
    if (found != backends.end()) {
        return *found;
    }
    const std::string offered =
        backends.empty() ? library + " offers no back-ends"
                         : library + " offers " +
                               listed(backends, [](const BackendInfo& info) { return info.name; });
    throw std::invalid_argument(
        (name.empty() ? "name the back-end: " : "there is no back-end \"" + name + "\": ") +
        offered);
}

/// Returns the back-end that the arguments name. Throws an exception that tells what is wrong with
/// them.
Subject loaded_subject(const std::vector<std::string>& arguments) {
    for (const std::string& word : arguments) {
        if (word.rfind('-', 0) == 0) {
            throw std::invalid_argument("unknown option " + word + "; see --help");
        }
    }
    const std::string& library = arguments.at(0);
    const bool isNamed = arguments.size() > 1 && find_capability(arguments[1]) == nullptr;
    const std::vector<std::string> words(arguments.begin() + (isNamed ? 2 : 1), arguments.end());
    const Supports supports = supports_of(words);
    return {backend_named(isNamed ? arguments[1] : "", library), supports,
            [library](cppmicroservices::BundleContext context) {
                return load_backends(library, std::move(context));
            }};
}

/// The back-end that is checked. It is set before GoogleTest requests the cases.
Subject& subject_under_test() {
    static Subject subject;
    return subject;
}

INSTANTIATE_TEST_SUITE_P(Loaded, ConformanceTest, testing::ValuesIn(cases_of(subject_under_test())),
                         case_name);

constexpr int nothingChecked = 2;

int refuse(const std::string& reason) {
    std::cerr << "logging2-conformance: " << reason << '\n';
    return nothingChecked;
}

bool is_for_googletest(const std::string& word) {
    return word.rfind("--gtest_", 0) == 0;
}

/// Runs the tests that GoogleTest's options select, and returns the exit status.
int run(int argc, char** argv, std::size_t ownArgumentCount) {
    testing::InitGoogleTest(&argc, argv);
    // GoogleTest removes the options that it knows. With an unknown option it would run nothing and
    // succeed.
    if (static_cast<std::size_t>(argc) != 1 + ownArgumentCount) {
        return refuse(std::string("GoogleTest has no option ") +
                      *std::find_if(argv, argv + argc, is_for_googletest));
    }
    if (testing::GTEST_FLAG(repeat) == 0) {
        return refuse("--gtest_repeat=0 checks nothing");
    }
    const int status = RUN_ALL_TESTS();
    if (status != 0) {
        hint_at_capabilities(subject_under_test().supports);
    }
    const bool onlyLists = testing::GTEST_FLAG(list_tests);
    if (!onlyLists && testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
        return refuse("no promise matches --gtest_filter=" + testing::GTEST_FLAG(filter));
    }
    return status;
}

int check(int argc, char** argv) {
    std::vector<std::string> arguments;
    std::remove_copy_if(argv + 1, argv + argc, std::back_inserter(arguments), is_for_googletest);
    if (std::find(arguments.begin(), arguments.end(), "--help") != arguments.end()) {
        print_help();
        return 0;
    }
    if (arguments.empty()) {
        std::cerr << usage << "       logging2-conformance --help\n";
        return nothingChecked;
    }
    try {
        subject_under_test() = loaded_subject(arguments);
    } catch (const std::exception& error) {
        return refuse(error.what());
    } catch (...) {
        return refuse(arguments.front() + " has thrown an exception of an unknown type");
    }
    return run(argc, argv, arguments.size());
}

} // namespace
} // namespace logging2::core::conformance

int main(int argc, char** argv) {
    return logging2::core::conformance::check(argc, argv);
}
