#pragma once

#include <logging2/lookup/Backend.hpp>

#include <functional>
#include <string>
#include <vector>

namespace logging2::core::conformance {

/// What the interfaces leave to the back-end. The suite asks which, and holds it to either.
struct Supports {
    /// `rollback` takes samples back. Otherwise it declines: it issues one warning
    /// "RollbackNotSupported" with the stream's name per call and keeps the samples.
    bool rollback = false;

    /// `StreamingAttributes::rollbackOnTimeRegression` is obeyed; otherwise it is not read.
    bool rollbackOnTimeRegression = false;

    /// `StreamingAttributes::pointLimit` bounds the history; otherwise it is not read.
    bool pointLimit = false;

    /// `close` alone makes the samples final, as `flush` does.
    bool closeFlushes = false;

    /// The data lies in files, and a reader that is destroyed takes its path's data along;
    /// otherwise readers, clones and stores keep the data as long as any of them lives.
    bool readersDelete = false;

    /// `dataStoreInfo` tells something; otherwise it is empty.
    bool dataStoreInfo = false;
};

using Registrations = BackendRegistrations;

/// A back-end that is to be held to the promises of the interfaces.
struct Backend {
    /// Under which the services are registered.
    std::string name;

    Supports supports;

    /// Registers the writer service and the reader service. Called before every promise; what it
    /// returns is unregistered afterwards.
    std::function<Registrations(cppmicroservices::BundleContext)> registerServices;
};

} // namespace logging2::core::conformance
