#include <tools/view/signals.hpp>

#include <tools/view/HttpError.hpp>

#include <algorithm>

namespace logging2::tools::view {
core::SignalInfo signal_of(const core::Run& run, const std::string& path) {
    const std::vector<core::SignalInfo> all = run.signals();
    const auto found = std::find_if(all.begin(), all.end(), [&path](const core::SignalInfo& each) {
        return each.path.text() == path;
    });
    if (found == all.end()) {
        throw HttpError(status::notFound, "The run has no signal \"" + path + "\".");
    }
    return *found;
}

void check_element(const core::SignalInfo& signal, std::size_t element) {
    if (element >= signal.width) {
        throw HttpError(status::notFound, "The signal \"" + signal.path.text() +
                                              "\" has no element " + std::to_string(element) + '.');
    }
}

} // namespace logging2::tools::view
