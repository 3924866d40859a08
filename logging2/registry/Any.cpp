#include <cppmicroservices/Any.h>

#include "detail/any_visit.hpp"

#include <cppmicroservices/ServiceInterface.h>

#include <sstream>
#include <stdexcept>

namespace cppmicroservices {
namespace {

/// Writes a property value; a character type counts as the number that it is, except `char`.
struct TextWriter {
    std::ostream& out;

    void operator()(const std::string& value) const { out << value; }
    void operator()(const char* value) const { out << value; }
    void operator()(char value) const { out << value; }
    void operator()(const Any& value) const { out << value.ToString(); }

    template <typename Number>
    std::enable_if_t<std::is_arithmetic_v<Number>> operator()(Number value) const {
        out << +value;
    }

    template <typename Element>
    void operator()(const std::vector<Element>& values) const {
        writeAll(values);
    }
    void operator()(const std::list<std::string>& values) const { writeAll(values); }

private:
    template <typename Values>
    void writeAll(const Values& values) const {
        const char* separator = "[";
        for (const auto& value : values) {
            out << separator;
            (*this)(value);
            separator = ",";
        }
        out << (values.empty() ? "[]" : "]");
    }
};

} // namespace

std::string Any::ToString() const {
    if (Empty()) {
        throw std::logic_error("empty any");
    }
    std::ostringstream text;
    if (!detail::visit_property(*this, TextWriter{text})) {
        throw std::logic_error("no text form for type " + detail::GetDemangledName(Type()));
    }
    return text.str();
}

BadAnyCastException::BadAnyCastException(std::string text) : message(std::move(text)) {}

BadAnyCastException::~BadAnyCastException() = default;

const char* BadAnyCastException::what() const noexcept {
    return message.c_str();
}

void detail::throw_bad_any_cast(const std::type_info& source, const std::type_info& target) {
    throw BadAnyCastException("any_cast: the value is of type " + GetDemangledName(source) +
                              ", not " + GetDemangledName(target));
}

} // namespace cppmicroservices
