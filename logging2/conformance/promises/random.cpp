#include <logging2/conformance/detail/Promise.hpp>

#include <logging2/conformance/detail/memory_oracle.hpp>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>

// Random runs like those of hosts, compared with a plain oracle.

namespace logging2::core::conformance {
namespace {

constexpr unsigned runCount = 300;

using test::MemoryOracle;
using Random = std::mt19937_64;

std::size_t below(Random& random, std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
}

/// Any bit pattern, including NaN and infinities; often one of the two zeros, which are equal.
double any_double(Random& random) {
    if (const std::size_t pick = below(random, 8); pick < 4) {
        return pick % 2 == 0 ? 0.0 : -0.0;
    }
    const std::uint64_t bits = random();
    double value = 0.0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

/// Returns up to four groups in ascending or descending order. Each group has up to four channels
/// of widths 0 to 3, and each channel has up to two paths. Channel numbers and paths are unique in
/// a setup.
GroupSetup random_setup(Random& random) {
    GroupSetup setup;
    const std::size_t groupCount = 1 + below(random, 4);
    const bool backward = below(random, 2) == 0;
    for (std::size_t i = 0; i < groupCount; ++i) {
        const std::size_t group = backward ? groupCount - 1 - i : i;
        std::vector<LoggedPath> paths;
        std::vector<LoggedChannel> channels;
        for (std::size_t c = 1 + below(random, 4); c > 0; --c) {
            const CoreDataId id(10 * group + c);
            channels.push_back({id, below(random, 4)});
            for (std::size_t alias = below(random, 3); alias > 0; --alias) {
                paths.push_back(
                    {ValuePath(std::to_string(id()) + "." + std::to_string(alias)), id});
            }
        }
        setup.insert(Group(group), LoggedPathsSetupData(paths, channels));
    }
    return setup;
}

/// One run of a writer, and of the model of what it must store.
class Run {
public:
    Run(Session& owner, unsigned seed)
        : session(owner),
          subject(owner.subject()),
          random(seed),
          streaming(attributes(1 + below(random, 20))),
          setup(random_setup(random)),
          oracle(setup, regresses(), limit()),
          writer(owner.writer(setup, streaming)) {}

    void go() {
        for (std::size_t i = below(random, 60); i > 0; --i) {
            step(below(random, setup.size()));
        }
        subject.supports.closeFlushes&& below(random, 2) == 0 ? writer->close() : writer->flush();
        oracle.flush();
        expectSame();
        session.closeReaders();
    }

private:
    bool regresses() {
        streaming.rollbackOnTimeRegression = below(random, 2) == 0;
        return streaming.rollbackOnTimeRegression && obeysRegression(subject);
    }

    std::optional<std::size_t> limit() const {
        return subject.supports.pointLimit ? std::optional(streaming.pointLimit) : std::nullopt;
    }

    void step(std::size_t group) {
        const std::size_t pick = below(random, 10);
        if (pick < 7) {
            write(group);
        } else if (pick < 9) {
            rollback(group, static_cast<double>(below(random, 40)) / 2.0);
        } else {
            writer->flushIntermediate();
        }
    }

    /// The times of even groups ascend, except after a NaN. If the writer rolls back when time goes
    /// backwards, any time may follow, but no NaN.
    double nextTime(std::size_t group) {
        const double any = static_cast<double>(below(random, 40)) / 2.0;
        if (oracle.rollbackOnTimeRegression) {
            return any;
        }
        if (below(random, 20) == 0) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        const Doubles& times = oracle.times[group];
        const bool ascends = group % 2 == 0 && !times.empty() && !std::isnan(times.back());
        return ascends ? times.back() + any / 20.0 : any;
    }

    void write(std::size_t group) {
        Doubles row;
        for (const LoggedChannel& channel : setup.find(Group(group))->second.coreIds()) {
            for (std::size_t e = 0; e < channel.width; ++e) {
                row.push_back(any_double(random));
            }
        }
        const double time = nextTime(group);
        EXPECT_TRUE(writer->write(group, time, row.data(), row.size()));
        oracle.write(group, time, row);
    }

    void rollback(std::size_t group, double time) {
        writer->rollback(group, time);
        if (rollsBack(subject)) {
            oracle.rollbackToTime(group, time);
        }
    }

    void expectSame() {
        for (const auto& [group, data] : setup) {
            for (const LoggedPath& logged : data.paths()) {
                const auto& expected = oracle.stores.at(logged.path);
                const Series series = session.read(*writer, testing::PrintToString(logged.path));
                EXPECT_TRUE(holds(series, expected.first, expected.second)) << logged.path;
            }
        }
    }

    Session& session;
    const Subject& subject;
    Random random;
    StreamingAttributes streaming;
    GroupSetup setup;
    MemoryOracle oracle;
    std::unique_ptr<StreamWriter> writer;
};

const Promise table[] = {
    {"randomRunsMatchTheModel", everyBackend,
     [](Session& session) {
         for (unsigned seed = 1; seed <= runCount && !testing::Test::HasFailure(); ++seed) {
             SCOPED_TRACE("seed " + std::to_string(seed));
             Run(session, seed).go();
         }
     }},
};

} // namespace

std::vector<Promise> random_promises() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
