#pragma once

/// The whole public surface of the conformance suite: the promises that every back-end makes, as
/// tests of GoogleTest.

#include <logging2/lookup/Backend.hpp>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace logging2::core::conformance {

/// Capabilities that are optional and that BackendInfo does not describe. A back-end is held to
/// what it declares: a capability must work if it is declared, and have no effect otherwise.
struct Supports {
    /// `StreamingAttributes::rollbackOnTimeRegression` is obeyed. Otherwise it is ignored.
    bool rollbackOnTimeRegression = false;

    /// `StreamingAttributes::pointLimit` bounds the history. Otherwise it is ignored.
    bool pointLimit = false;

    /// `close` makes the samples final if `flush` was not called before.
    bool closeFlushes = false;

    /// The first reader of a path to be destroyed deletes the path's data. Otherwise the data
    /// lives as long as any store, reader or clone of it.
    bool readersDelete = false;

    /// `dataStoreInfo` has a value after `flush`. Otherwise it is always empty.
    bool dataStoreInfo = false;
};

/// A back-end under test.
struct Subject {
    /// The name under which the back-end is found. `supportsRollback` and `isPersistent` decide
    /// which promises it makes.
    BackendInfo info;

    /// Its further capabilities.
    Supports supports;

    /// Registers the back-end and returns the registrations, which the suite unregisters again.
    /// Called once before every promise.
    std::function<BackendRegistrations(cppmicroservices::BundleContext)> registerServices;
};

/// The back-end as a subject, which register_backend() registers.
Subject subject_of(const Backend& backend, const Supports& supports = {});

/// One promise that a back-end makes, and the parameter of its test.
struct Case {
    /// The back-end.
    Subject subject;

    /// The promise's name, such as "rollbackKeepsSamplesAtEqualTime".
    std::string promise;
};

/// Prints the names of the back-end and of the promise.
std::ostream& operator<<(std::ostream& stream, const Case& tested);

/// The test of one promise. It is run for a back-end by
///
///     INSTANTIATE_TEST_SUITE_P(MyBackend, ConformanceTest, testing::ValuesIn(cases_of(subject)),
///                              case_name);
///
/// Each test gives the back-end an empty temporary directory, as the host's and in the environment
/// variable TMPDIR, and records the warnings that it issues.
class ConformanceTest : public testing::TestWithParam<Case> {};

/// The promises that the back-end makes with this support.
std::vector<Case> cases_of(const Subject& subject);

/// The name of the promise, as GoogleTest asks for it.
std::string case_name(const testing::TestParamInfo<Case>& tested);

} // namespace logging2::core::conformance
