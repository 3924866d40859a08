#pragma once

#include <logging2/export.hpp>

#include <memory>
#include <string>

namespace cppmicroservices {

class ServiceReferenceBase;

namespace detail {
struct Filter;
} // namespace detail

/// A condition on the properties of a service, such as "(&(name=a*)(!(size>=8)))".
///
/// `=` compares with `*` as wildcard, `~=` without regard to case and blanks, `<=` and `>=` by
/// order; "(key=*)" asks for presence. Keys have no case. A backslash takes the next character of
/// a value literally.
class LOGGING2_EXPORT LDAPFilter {
public:
    /// Throws `std::invalid_argument` for a text that is no filter.
    LDAPFilter(const std::string& text);

    /// Whether the properties fulfil the condition; those of an empty reference never do.
    bool Match(const ServiceReferenceBase& reference) const;

private:
    std::shared_ptr<const detail::Filter> filter;
};

} // namespace cppmicroservices
