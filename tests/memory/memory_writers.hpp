#pragma once

#include <logging2/logging2.hpp>

#include <tests/support/nan.hpp>
#include <tests/support/setups.hpp>

#include <gmock/gmock.h>

#include <cmath>
#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace logging2::core::test {

/// Attributes with which both writers behave alike, as long as no group has more than 64 steps.
inline StreamingAttributes attributes(bool rollbackOnTimeRegression = false) {
    StreamingAttributes result;
    result.rollbackOnTimeRegression = rollbackOnTimeRegression;
    result.pointLimit = 64;
    return result;
}

/// The rules that both memory writers share. One typed suite tests both.
template <class Writer>
class MemoryWritersTest : public ::testing::Test {
protected:
    static Writer make(const GroupSetup& setup = scalarSetup(),
                       bool rollbackOnTimeRegression = false) {
        return Writer(attributes(rollbackOnTimeRegression), setup);
    }

    static Writer makeRollingBack() { return make(scalarSetup(), true); }

    static std::vector<double> times(Writer& writer, std::size_t group = 0) {
        return {writer.times(group).begin(), writer.times(group).end()};
    }

    /// The first value of each row.
    static std::vector<double> firstValues(Writer& writer, std::size_t group = 0) {
        std::vector<double> result;
        for (const auto& row : writer.data(group)) {
            result.push_back(row->front());
        }
        return result;
    }

    /// Writes scalar samples whose values count the calls from 1.
    static void writeTimes(Writer& writer, const std::vector<double>& times) {
        double call = 0.0;
        for (const double time : times) {
            call += 1.0;
            writer.write(0, time, &call, 1);
        }
    }
};

using MemoryWriters = ::testing::Types<MemoryStreamWriter, MemoryStreamRestrictedWriter>;

/// The names of the typed tests.
struct WriterNames {
    template <class Writer>
    static std::string GetName(int /*index*/) {
        return std::is_same_v<Writer, MemoryStreamWriter> ? "MemoryStreamWriter"
                                                          : "MemoryStreamRestrictedWriter";
    }
};

/// A memory writer that counts the calls of flush.
template <class Writer>
class FlushCountingWriter : public Writer {
public:
    using Writer::Writer;
    void flush() override {
        ++flushes;
        Writer::flush();
    }
    int flushes = 0;
};

} // namespace logging2::core::test
