#include <examples/simulate/report/samples.hpp>

#include <algorithm>
#include <limits>

namespace simulate {
namespace {

std::vector<bool> rejection_flags(const std::vector<double>& times) {
    std::vector<bool> rejected(times.size());
    double earliestLater = std::numeric_limits<double>::infinity();
    for (std::size_t sample = times.size(); sample-- > 0;) {
        rejected[sample] = times[sample] > earliestLater;
        earliestLater = std::min(earliestLater, times[sample]);
    }
    return rejected;
}

std::vector<std::size_t> samples_flagged(const std::vector<double>& times, bool wanted) {
    const std::vector<bool> rejected = rejection_flags(times);
    std::vector<std::size_t> samples;
    for (std::size_t sample = 0; sample < times.size(); ++sample) {
        if (rejected[sample] == wanted) {
            samples.push_back(sample);
        }
    }
    return samples;
}

} // namespace

std::vector<std::size_t> rejected_samples(const std::vector<double>& times) {
    return samples_flagged(times, true);
}

std::vector<std::size_t> accepted_samples(const std::vector<double>& times) {
    return samples_flagged(times, false);
}

std::vector<double> component_of(const std::vector<double>& values, std::size_t width,
                                 std::size_t component) {
    std::vector<double> column;
    column.reserve(values.size() / width);
    for (std::size_t at = component; at < values.size(); at += width) {
        column.push_back(values[at]);
    }
    return column;
}

std::vector<std::size_t> thin_samples(const std::vector<std::size_t>& indices,
                                      const std::vector<double>& values, std::size_t sampleLimit) {
    if (indices.size() <= sampleLimit) {
        return indices;
    }
    const std::size_t stretchCount = std::max<std::size_t>(sampleLimit / 2, 1);
    const std::size_t stretch = (indices.size() + stretchCount - 1) / stretchCount;
    const auto smaller = [&](std::size_t a, std::size_t b) { return values[a] < values[b]; };
    std::vector<std::size_t> thinned{indices.front()};
    for (std::size_t begin = 0; begin < indices.size(); begin += stretch) {
        const auto first = indices.data() + begin;
        const auto last = indices.data() + std::min(begin + stretch, indices.size());
        const auto [low, high] = std::minmax_element(first, last, smaller);
        thinned.push_back(*std::min(low, high));
        thinned.push_back(*std::max(low, high));
    }
    thinned.push_back(indices.back());
    thinned.erase(std::unique(thinned.begin(), thinned.end()), thinned.end());
    return thinned;
}

} // namespace simulate
