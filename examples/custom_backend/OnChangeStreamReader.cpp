#include "OnChangeStreamReader.hpp"

namespace custom_backend {
namespace {

std::vector<double> repeated(const ChannelHistory& channel, std::size_t stepCount) {
    std::vector<double> values;
    values.reserve(stepCount * channel.width);
    for (std::size_t change = 0; change < channel.steps.size(); ++change) {
        const bool isLast = change + 1 == channel.steps.size();
        const std::size_t end = isLast ? stepCount : channel.steps[change + 1];
        const double* const held = channel.values.data() + change * channel.width;
        for (std::size_t step = channel.steps[change]; step < end; ++step) {
            values.insert(values.end(), held, held + channel.width);
        }
    }
    return values;
}

} // namespace

OnChangeStreamReader::OnChangeStreamReader(const boost::any& dataStore)
    : store(dataStore.empty() ? OnChangeStore() : boost::any_cast<OnChangeStore>(dataStore)) {}

std::unique_ptr<logging2::core::StreamReader> OnChangeStreamReader::clone() const {
    return std::make_unique<OnChangeStreamReader>(*this);
}

std::vector<double> OnChangeStreamReader::times() const {
    return store.group ? store.group->times : std::vector<double>();
}

std::pair<std::vector<double>, std::vector<double>> OnChangeStreamReader::timeseries() const {
    if (!store.group) {
        return {};
    }
    return {times(), repeated(store.group->channels[store.channel], store.group->times.size())};
}

} // namespace custom_backend
