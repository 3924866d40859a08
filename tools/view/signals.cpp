#include <tools/view/signals.hpp>

#include <tools/terminal/text.hpp>
#include <tools/view/HttpError.hpp>

#include <algorithm>

namespace logging2::tools::view {

std::string name_of(const core::SignalInfo& signal) {
    return printable(signal.path.text());
}

core::SignalInfo signal_of(const core::Run& run, const std::string& name) {
    return signal_in(run.signals(), name);
}

core::SignalInfo signal_in(const std::vector<core::SignalInfo>& all, const std::string& name) {
    const auto found = std::find_if(all.begin(), all.end(), [&name](const core::SignalInfo& each) {
        return name_of(each) == name;
    });
    if (found == all.end()) {
        throw HttpError(status::notFound, "The run has no signal \"" + name + "\".");
    }
    return *found;
}

void check_element(const core::SignalInfo& signal, std::size_t element) {
    if (element >= signal.width) {
        throw HttpError(status::notFound, "The signal \"" + name_of(signal) + "\" has no element " +
                                              std::to_string(element) + '.');
    }
}

} // namespace logging2::tools::view
