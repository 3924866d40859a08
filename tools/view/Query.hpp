#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace logging2::tools::view {

/// The parameters behind the `?` of an address: NAME=VALUE&NAME=VALUE.
///
/// Everything that is not well formed is refused with an HttpError of status 400 that names the
/// parameter: a parameter without a name or a value, a wrong escape, a character that must be
/// escaped, a control character, or more than 512 parameters. A `+` stands for a space.
class Query {
public:
    /// No parameters.
    Query() = default;

    /// The parameters in the text behind the `?`.
    explicit Query(std::string_view text);

    /// Throws if a parameter has a name that is not one of these.
    void allow(const std::vector<std::string>& names) const;

    bool has(const std::string& name) const { return parameters.count(name) != 0; }

    /// The value of a parameter. Throws if it is missing, empty or given twice.
    std::string text(const std::string& name) const;

    /// All values of a parameter. Throws if there is none, or more than greatestCount.
    std::vector<std::string> texts(const std::string& name, std::size_t greatestCount) const;

    /// The value as a finite number in decimal notation.
    double number(const std::string& name) const;

    /// The same, empty if the parameter is missing.
    std::optional<double> optionalNumber(const std::string& name) const;

    /// The same, with a value for a parameter that is missing. Throws if it is negative.
    double tolerance(const std::string& name, double standard) const;

    /// The value as a whole number from least to greatest.
    std::size_t count(const std::string& name, std::size_t least, std::size_t greatest) const;

    /// All values as whole numbers. Throws if there is none, or more than greatestCount.
    std::vector<std::size_t> counts(const std::string& name, std::size_t greatestCount) const;

    /// The same, empty for the text "all".
    std::vector<std::optional<std::size_t>> countsOrAll(const std::string& name,
                                                        std::size_t greatestCount) const;

private:
    void add(std::string_view parameter);

    std::map<std::string, std::vector<std::string>> parameters;
    std::size_t parameterCount = 0;
};

} // namespace logging2::tools::view
