#include <examples/simulate/models/catalogue.hpp>
#include <examples/simulate/report/samples.hpp>
#include <tests/integration/support/runs.hpp>
#include <tests/integration/support/test_backends.hpp>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using integration::LoggedRun;
using simulate::Backend;
using simulate::Model;

constexpr double stopTime = 3;
constexpr std::size_t largeLimit = 1000000;
constexpr std::size_t smallLimit = 37;

class BackendsAgreeTest : public testing::TestWithParam<std::string> {
protected:
    const Model& model() const { return simulate::find_model(GetParam()); }

    LoggedRun run(const Backend& backend, std::size_t pointLimit = largeLimit) const {
        return integration::run_model(model(), stopTime, 1e-9, backend, pointLimit);
    }
};

void expect_same(const LoggedRun& a, const LoggedRun& b) {
    ASSERT_EQ(a.groups.size(), b.groups.size());
    for (std::size_t group = 0; group < a.groups.size(); ++group) {
        EXPECT_TRUE(integration::same_bits(a.groups[group].times, b.groups[group].times));
        ASSERT_EQ(a.groups[group].values.size(), b.groups[group].values.size());
        for (std::size_t path = 0; path < a.groups[group].values.size(); ++path) {
            EXPECT_TRUE(
                integration::same_bits(a.groups[group].values[path], b.groups[group].values[path]));
        }
    }
}

std::vector<double> last(const std::vector<double>& values, std::size_t count) {
    return {values.end() - static_cast<std::ptrdiff_t>(count), values.end()};
}

std::vector<double> rows_of(const std::vector<double>& values, std::size_t width,
                            const std::vector<std::size_t>& samples) {
    std::vector<double> rows;
    for (const std::size_t sample : samples) {
        const auto row = values.begin() + static_cast<std::ptrdiff_t>(sample * width);
        rows.insert(rows.end(), row, row + static_cast<std::ptrdiff_t>(width));
    }
    return rows;
}

LoggedRun without_rejected(LoggedRun run) {
    for (simulate::GroupResult& group : run.groups) {
        const auto accepted = simulate::accepted_samples(group.times);
        group.times = rows_of(group.times, 1, accepted);
        for (std::size_t path = 0; path < group.values.size(); ++path) {
            const std::size_t width = group.info.paths[path].width();
            group.values[path] = rows_of(group.values[path], width, accepted);
        }
    }
    return run;
}

TEST_P(BackendsAgreeTest, memoryGivesTheSameValuesAsTheDefault) {
    expect_same(run(Backend("memory")), run(Backend()));
}

TEST_P(BackendsAgreeTest, unreachedLimitGivesTheSameValues) {
    expect_same(run(Backend("memory-restricted")), run(Backend()));
}

TEST_P(BackendsAgreeTest, limitKeepsTheEndOfTheRun) {
    const LoggedRun full = run(Backend());
    const LoggedRun limited = run(Backend("memory-restricted"), smallLimit);
    for (std::size_t group = 0; group < full.groups.size(); ++group) {
        const auto& info = full.groups[group].info;
        const auto& times = limited.groups[group].times;
        // A step that was taken back leaves its place in the ring empty until the next step.
        ASSERT_LE(times.size(), smallLimit);
        ASSERT_GE(times.size(), smallLimit - limited.counts.takenBack);
        EXPECT_TRUE(integration::same_bits(times, last(full.groups[group].times, times.size())));
        for (std::size_t path = 0; path < info.paths.size(); ++path) {
            const std::size_t valueCount = times.size() * info.paths[path].width();
            EXPECT_TRUE(integration::same_bits(limited.groups[group].values[path],
                                               last(full.groups[group].values[path], valueCount)));
        }
    }
}

TEST_P(BackendsAgreeTest, filesGiveTheSameValuesPlusRejectedSteps) {
    const LoggedRun native = run(Backend("native"));
    EXPECT_EQ(native.counts.takenBack, 0u);
    expect_same(without_rejected(native), run(Backend()));
}

#ifdef INTEGRATION_WITH_COLUMNAR
TEST_P(BackendsAgreeTest, columnarGivesTheSameValuesAsTheDefault) {
    expect_same(run(Backend("columnar")), run(Backend()));
}
#endif

#ifdef INTEGRATION_WITH_RECORDING
TEST_P(BackendsAgreeTest, recordingGivesTheSameValuesAsTheDefault) {
    expect_same(run(Backend("recording")), run(Backend()));
}
#endif

TEST_P(BackendsAgreeTest, secondRunGivesTheSameValues) {
    expect_same(run(Backend()), run(Backend()));
}

TEST_P(BackendsAgreeTest, checksChangeNothing) {
    for (const std::string& name : integration::backend_names()) {
        SCOPED_TRACE(name);
        const LoggedRun plain = run(Backend(name), smallLimit);
        const LoggedRun checked = run(Backend("checked:" + name), smallLimit);
        expect_same(checked, plain);
        EXPECT_EQ(checked.counts.takenBack, plain.counts.takenBack);
        EXPECT_EQ(checked.counts.declined, plain.counts.declined);
    }
}

std::vector<std::string> model_names() {
    std::vector<std::string> names;
    for (const auto& model : simulate::models()) {
        names.push_back(model->name());
    }
    return names;
}

INSTANTIATE_TEST_SUITE_P(Models, BackendsAgreeTest, testing::ValuesIn(model_names()),
                         [](const auto& param) {
                             std::string name = param.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

} // namespace
