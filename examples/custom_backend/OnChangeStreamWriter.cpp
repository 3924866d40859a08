#include "OnChangeStreamWriter.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace custom_backend {
namespace {

/// Two doubles are the same where their bits are: NaN equals itself, and -0.0 is not 0.0.
bool same_bits(double a, double b) {
    std::uint64_t bitsOfA = 0;
    std::uint64_t bitsOfB = 0;
    std::memcpy(&bitsOfA, &a, sizeof a);
    std::memcpy(&bitsOfB, &b, sizeof b);
    return bitsOfA == bitsOfB;
}

bool is_unchanged(const ChannelHistory& channel, const double* values) {
    return !channel.steps.empty() &&
           std::equal(values, values + channel.width,
                      channel.values.end() - static_cast<std::ptrdiff_t>(channel.width), same_bits);
}

/// Drops the first sample whose time satisfies the predicate, and every sample after it.
template <class Predicate>
void drop_from_first(GroupHistory& group, Predicate isDropped) {
    const auto first = std::find_if(group.times.begin(), group.times.end(), isDropped);
    group.times.erase(first, group.times.end());
    for (ChannelHistory& channel : group.channels) {
        while (!channel.steps.empty() && channel.steps.back() >= group.times.size()) {
            channel.steps.pop_back();
        }
        channel.values.resize(channel.steps.size() * channel.width);
    }
}

GroupHistory empty_history(const logging2::core::LoggedPathsSetupData& data) {
    GroupHistory group;
    for (const logging2::core::LoggedChannel& channel : data.coreIds()) {
        group.channels.push_back({channel.width, {}, {}});
    }
    return group;
}

} // namespace

OnChangeStreamWriter::OnChangeStreamWriter(const logging2::core::StreamingAttributes& attributes,
                                           Setup groupSetup)
    : setup(std::move(groupSetup)),
      rollbackOnTimeRegression(attributes.rollbackOnTimeRegression) {
    for (const auto& [group, data] : setup) {
        histories.emplace(group.id(), empty_history(data));
    }
}

bool OnChangeStreamWriter::write(std::size_t group, double time, const double* values,
                                 std::size_t /*n*/) {
    GroupHistory& history = histories.at(group);
    if (rollbackOnTimeRegression && !history.times.empty() && history.times.back() >= time) {
        drop_from_first(history, [time](double held) { return held >= time; });
    }
    for (ChannelHistory& channel : history.channels) {
        if (!is_unchanged(channel, values)) {
            channel.steps.push_back(history.times.size());
            channel.values.insert(channel.values.end(), values, values + channel.width);
        }
        values += channel.width;
    }
    history.times.push_back(time);
    return true;
}

void OnChangeStreamWriter::rollback(std::size_t group, double time) {
    drop_from_first(histories.at(group), [time](double held) { return held > time; });
}

void OnChangeStreamWriter::flush() {
    flushed = true;
    for (const auto& [group, data] : setup) {
        const auto history =
            std::make_shared<const GroupHistory>(std::exchange(histories.at(group.id()), {}));
        for (std::size_t channel = 0; channel < data.coreIds().size(); ++channel) {
            for (const logging2::core::LoggedPath& logged : data.paths()) {
                if (logged.id == data.coreIds()[channel].id) {
                    stores.emplace(logged.path, OnChangeStore{history, channel});
                }
            }
        }
    }
}

void OnChangeStreamWriter::flushIntermediate() {}

void OnChangeStreamWriter::close() {
    if (!flushed) {
        flush();
    }
}

boost::any OnChangeStreamWriter::dataStore(const lang::core::ValuePath& path) const {
    return stores.at(path);
}

std::optional<logging2::core::DataStoreInfo> OnChangeStreamWriter::dataStoreInfo() const {
    return std::nullopt;
}

} // namespace custom_backend
