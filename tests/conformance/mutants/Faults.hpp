#pragma once

#include <logging2/conformance/conformance.hpp>
#include <logging2/conformance/detail/Session.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core::conformance {

/// The behaviour of a faulty back-end in place of the sound one behind it. Calls whose member is
/// not set are forwarded. State that several writers, readers or services share is captured by
/// handle.
struct Faults {
    /// The names and the ranking of the registered services.
    std::vector<std::string> names{"mutant"};
    int ranking = 0;
    std::function<void()> serviceGone;

    /// Receives the caller's own attributes before they are copied.
    std::function<void(const StreamingAttributes&)> asked;
    std::function<void(StreamingAttributes&, GroupSetup&)> making;
    std::function<void(StreamWriter&)> made;
    std::function<void(StreamWriter&)> gone;

    std::function<bool(StreamWriter&, std::size_t, double, const double*, std::size_t)> write;
    std::function<void(StreamWriter&, std::size_t, double)> rollback;
    std::function<boost::any(const StreamWriter&, const ValuePath&)> dataStore;
    std::function<std::optional<DataStoreInfo>()> dataStoreInfo;
    std::function<void(StreamWriter&)> flush;
    std::function<void(StreamWriter&)> flushIntermediate;
    std::function<void(StreamWriter&)> close;

    /// Returns what a reader reads instead of the store.
    std::function<boost::any(const boost::any&)> opening;
    std::function<std::unique_ptr<StreamReader>(const StreamReader&)> clone;
    std::function<Doubles(const StreamReader&)> times;
    std::function<Series(Series)> timeseries;
};

enum class Base { memory, memoryRestricted, native };

/// The declaration of the sound back-end, under the name "mutant".
Subject declared_by(Base base);

/// The sound back-end with the faults and this declaration.
Subject faulty(Base base, Subject declared, const Faults& faults);

} // namespace logging2::core::conformance
