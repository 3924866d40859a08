#pragma once

#include <tests/support/AllocationSweep.hpp>
#include <tests/support/setups.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::core::test {

/// Texts that are too long for std::string's internal buffer, so that each copy allocates.
constexpr const char* firstPath = "plant.reactor.jacket.temperature";
constexpr const char* aliasPath = "plant.reactor.jacket.temperature.alias";
constexpr const char* widePath = "plant.reactor.feed.composition";
constexpr const char* secondGroupPath = "controller.integrator.state.value";

/// Group 0 with the channels 0 (shown twice) and 1 (of width 2), group 1 with the channel 2.
inline GroupSetup twoGroups() {
    const LoggedPathsSetupData first(paths({{firstPath, 0}, {aliasPath, 0}, {widePath, 1}}),
                                     channels({{0, 1}, {1, 2}}));
    const LoggedPathsSetupData second(paths({{secondGroupPath, 2}}), channels({{2, 1}}));
    return GroupSetup{{Group(0), first}, {Group(1), second}};
}

/// Attributes in which every member that can own memory does, with a limit of 64 steps.
inline StreamingAttributes fullAttributes(bool rollbackOnTimeRegression = false) {
    StreamingAttributes attributes;
    attributes.rollbackOnTimeRegression = rollbackOnTimeRegression;
    attributes.pointLimit = 64;
    attributes.name = BasicTableString<char>("a stream whose name is a long text");
    attributes.hostStrings = {"a text of the host that is long", "another text that is long"};
    return attributes;
}

/// The row of group 0 or 1 at the time. Its values encode the time and the element.
inline std::vector<double> rowAt(std::size_t group, double time) {
    return group == 0 ? std::vector<double>{time, time + 0.25, time + 0.5}
                      : std::vector<double>{-time};
}

} // namespace logging2::core::test
