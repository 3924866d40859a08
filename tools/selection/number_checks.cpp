#include <tools/selection/number_checks.hpp>

#include <tools/terminal/text.hpp>

#include <limits>
#include <string>

namespace logging2::tools {
namespace {

bool is_between(const std::string& text, double least, double greatest) {
    double number = 0;
    return CLI::detail::lexical_cast(text, number) && number >= least && number <= greatest;
}

/// The validator returns a message if the text is refused.
template <class Condition>
CLI::Validator check(const Condition& isGood, const std::string& expected) {
    return CLI::Validator(
        [isGood, expected](const std::string& text) {
            return isGood(text) ? std::string() : text + " is not " + expected;
        },
        "");
}

} // namespace

CLI::Validator at_least_zero() {
    return check(
        [](const std::string& text) {
            return is_between(text, 0, std::numeric_limits<double>::max());
        },
        "a number of at least 0");
}

CLI::Validator at_least_one() {
    return check(
        [](const std::string& text) {
            return text.find_first_not_of("0123456789") == std::string::npos &&
                   text.find_first_not_of('0') != std::string::npos;
        },
        "a whole number of at least 1");
}

CLI::Validator between(double least, double greatest) {
    return check(
        [least, greatest](const std::string& text) { return is_between(text, least, greatest); },
        "a number from " + number_text(least) + " to " + number_text(greatest));
}

} // namespace logging2::tools
