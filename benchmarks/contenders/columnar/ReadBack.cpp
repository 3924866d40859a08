#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/columnar/stored_columns.hpp>

#include <logging2/backends/columnar/columnar.hpp>

namespace logging2::core::bench {
namespace {

/// Writes everything, flushes, and reads every path once.
template <class Writer, class Reader>
class ReadBack : public Contender {
public:
    using Contender::Contender;

    void run() override { write_all(*writer, rows); }

    void finish() override {
        writer->flush();
        std::size_t valueCount = 0;
        read_columns<Reader>(rows, *writer, [&](ColumnId, const auto&, const auto& values) {
            valueCount += values.size();
        });
        check_count(valueCount, rows.workload().valueCount());
    }

    std::size_t check() override {
        check_columns<Reader>(rows, *writer);
        return 0;
    }

private:
    std::unique_ptr<StreamWriter> writer =
        std::make_unique<Writer>(StreamingAttributes(), setup_of(rows.workload()));
};

/// A vector of rows per group, from which columns are made at the end.
class TransposedVector : public Contender {
public:
    using Contender::Contender;

    void run() override {
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t n) {
            groups[group].push_back(time);
            groups[group].insert(groups[group].end(), values, values + n);
        });
    }

    void finish() override {
        for (std::size_t group = 0; group < groups.size(); ++group) {
            transpose(groups[group], rows.workload().groups[group].widths, columns[group]);
            groups[group] = {};
        }
    }

    std::size_t check() override {
        for (std::size_t group = 0; group < columns.size(); ++group) {
            for (std::size_t channel = 0; channel + 1 < columns[group].size(); ++channel) {
                check_column(rows, {group, channel}, columns[group][0], columns[group][channel + 1],
                             rows.workload().stepCount);
            }
        }
        return 0;
    }

private:
    using Columns = std::vector<std::vector<double>>; // the times first

    static constexpr std::size_t tileRowCount = 64;

    static void transpose(const std::vector<double>& elements, std::vector<std::size_t> widths,
                          Columns& result) {
        widths.insert(widths.begin(), 1);
        std::size_t rowLength = 0;
        for (const std::size_t width : widths) {
            rowLength += width;
        }
        const std::size_t rowCount = elements.size() / rowLength;
        for (const std::size_t width : widths) {
            result.emplace_back().reserve(rowCount * width);
        }
        for (std::size_t first = 0; first < rowCount; first += tileRowCount) {
            const std::size_t end = std::min(first + tileRowCount, rowCount);
            std::size_t offset = 0;
            for (std::size_t k = 0; k < widths.size(); ++k) {
                for (std::size_t row = first; row < end; ++row) {
                    const double* const value = elements.data() + row * rowLength + offset;
                    result[k].insert(result[k].end(), value, value + widths[k]);
                }
                offset += widths[k];
            }
        }
    }

    std::vector<std::vector<double>> groups{rows.workload().groups.size()};
    std::vector<Columns> columns{rows.workload().groups.size()};
};

[[maybe_unused]] const bool added =
    add_contender<ReadBack<MemoryStreamWriter, MemoryStreamReader>>("memory-read-back",
                                                                    Suits::anyGroups) &&
    add_contender<ReadBack<ColumnarStreamWriter, ColumnarStreamReader>>("columnar-read-back",
                                                                        Suits::anyGroups) &&
    add_contender<TransposedVector>("transposed-vector", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
