#pragma once

#include <memory>
#include <string>
#include <vector>

namespace side_by_side {

/// The interface that services in both registries have.
class Greeter {
public:
    virtual ~Greeter() = default;
    virtual std::string greeting() const = 0;
};

class NamedGreeter final : public Greeter {
public:
    explicit NamedGreeter(std::string text) : name(std::move(text)) {}
    std::string greeting() const override { return name; }

private:
    std::string name;
};

/// A running framework of CppMicroServices. This header does not include any of its headers,
/// because a source file may include the headers of only one registry.
class RealFramework {
public:
    RealFramework();
    RealFramework(const RealFramework&) = delete;
    RealFramework& operator=(const RealFramework&) = delete;
    ~RealFramework();

    /// Registers a service whose property "name" is the text.
    void add(const std::string& name);

    /// The greetings of the services that match the filter.
    std::vector<std::string> greetings(const std::string& filter) const;

    /// Whether a call on an invalid context throws the exception of CppMicroServices.
    static bool refusesAnInvalidContext();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace side_by_side
