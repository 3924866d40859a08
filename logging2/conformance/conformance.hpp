#pragma once

/// The public header of the conformance suite, which tests with GoogleTest what every back-end
/// promises.

#include <logging2/lookup/Backend.hpp>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace logging2::core::conformance {

/// Optional capabilities that BackendInfo does not describe. The suite checks that a declared
/// capability works and that a capability that is not declared has no effect.
struct Supports {
    /// Whether writers obey `StreamingAttributes::rollbackOnTimeRegression`. If false, they ignore
    /// it.
    bool rollbackOnTimeRegression = false;

    /// Whether writers keep only the newest `StreamingAttributes::pointLimit` samples of each
    /// group. If false, they ignore it.
    bool pointLimit = false;

    /// Whether `close` makes the samples final if `flush` was not called before.
    bool closeFlushes = false;

    /// Whether the first reader of a path that is destroyed deletes the path's data. If false, the
    /// data lives as long as any store, reader or clone of it.
    bool readersDelete = false;

    /// Whether `dataStoreInfo` has a value after `flush`. If false, it is always empty.
    bool dataStoreInfo = false;
};

/// A back-end under test.
struct Subject {
    /// The back-end's description. It contains the name under which the back-end is found.
    /// `supportsRollback` and `isPersistent` decide which promises are tested.
    BackendInfo info;

    /// The back-end's further capabilities.
    Supports supports;

    /// Registers the back-end and returns the registrations. The suite calls this before every
    /// promise, and unregisters the services afterwards.
    std::function<BackendRegistrations(cppmicroservices::BundleContext)> registerServices;
};

/// Returns the back-end as a subject, whose services are registered by register_backend().
Subject subject_of(const Backend& backend, const Supports& supports = {});

/// One promise of one back-end: the parameter of a test.
struct Case {
    /// The back-end.
    Subject subject;

    /// The name of the promise, such as "rollbackKeepsSamplesAtEqualTime".
    std::string promise;
};

/// Prints the names of the back-end and of the promise.
std::ostream& operator<<(std::ostream& stream, const Case& tested);

/// The test of one promise. Write this in your test program to run all tests of a back-end:
///
///     INSTANTIATE_TEST_SUITE_P(MyBackend, ConformanceTest, testing::ValuesIn(cases_of(subject)),
///                              case_name);
///
/// Each test gives the back-end an empty temporary directory, through the host's
/// temp_directory_name() and through the environment variable TMPDIR. It also records the warnings
/// that the back-end issues.
class ConformanceTest : public testing::TestWithParam<Case> {};

/// Returns the promises that the back-end makes with its capabilities.
std::vector<Case> cases_of(const Subject& subject);

/// Returns the name of the promise, which GoogleTest uses as the name of the test.
std::string case_name(const testing::TestParamInfo<Case>& tested);

} // namespace logging2::core::conformance
