#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core::test {

/// The registry's knowledge of a service. A service that is not named has its name under another
/// key.
struct NamedService {
    std::string name;
    int ranking = 0;
    bool isNamed = true;
};

/// The expected result of a look-up by name among services in the order of their registration, some
/// of which were removed. It follows the grammar of a filter's value: `*` stands for any text, and
/// a backslash escapes the next character.
class NameOracle {
public:
    using Services = std::vector<std::optional<NamedService>>;

    explicit NameOracle(const std::string& name) {
        int depth = 0;
        for (std::size_t i = 0; i < name.size() && wellFormed; ++i) {
            char character = name[i];
            const bool isEscaped = character == '\\';
            if (isEscaped) {
                wellFormed = ++i < name.size();
                character = wellFormed ? name[i] : '\0';
            } else {
                depth += character == '(' ? 1 : character == ')' ? -1 : 0;
                wellFormed = depth >= 0;
            }
            pattern.push_back({character, isWildcard(character, isEscaped)});
        }
        wellFormed = wellFormed && depth == 0;
    }

    /// A malformed name is refused only if there is a service to compare it with.
    bool isRefused(const Services& services) const {
        bool any = false;
        for (const auto& service : services) {
            any = any || service.has_value();
        }
        return any && !wellFormed;
    }

    /// The highest ranking wins, then the one that was registered first.
    std::optional<std::size_t> chosen(const Services& services) const {
        std::optional<std::size_t> best;
        for (std::size_t i = 0; i < services.size(); ++i) {
            const bool matches =
                services[i] && services[i]->isNamed && wellFormed && fits(services[i]->name);
            if (matches && (!best || services[i]->ranking > services[*best]->ranking)) {
                best = i;
            }
        }
        return best;
    }

private:
    struct Part {
        char character;
        bool isAnyText;
    };

    /// The registry represents `*` by the delete character, which cannot be escaped.
    static bool isWildcard(char character, bool isEscaped) {
        return character == '\x7f' || (character == '*' && !isEscaped);
    }

    /// reached[i]: whether the parts so far fit the first i characters.
    bool fits(const std::string& text) const {
        std::vector<bool> reached(text.size() + 1, false);
        reached[0] = true;
        for (const Part& part : pattern) {
            std::vector<bool> next(text.size() + 1, false);
            for (std::size_t i = 0; i <= text.size(); ++i) {
                const bool longer =
                    i > 0 && (part.isAnyText ? next[i - 1]
                                             : reached[i - 1] && text[i - 1] == part.character);
                next[i] = longer || (part.isAnyText && reached[i]);
            }
            reached = next;
        }
        return reached[text.size()];
    }

    std::vector<Part> pattern;
    bool wellFormed = true;
};

} // namespace logging2::core::test
