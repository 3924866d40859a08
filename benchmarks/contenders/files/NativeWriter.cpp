#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>
#include <benchmarks/contenders/files/channel_files.hpp>
#include <benchmarks/workload/library_setup.hpp>

#include <logging2/host/foundation/text_conversion.hpp>

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

namespace logging2::core::bench {
namespace {

std::string utf8(const std::u16string& text) {
    return foundation::ustring_to_utf8_string(text);
}

/// Full buffers go to the background thread. A buffer that fills before the thread has taken the
/// previous one replaces it. The lost rows are counted; they must be whole batches.
class NativeWriter : public Contender {
public:
    using Contender::Contender;

    void run() override { write_all(writer, rows); }

    void finish() override { writer.flush(); }

    std::size_t check() override {
        std::size_t lost = 0;
        for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
            for (const StepRange& range : check_group(group)) {
                lost += check_lost(group, range);
            }
        }
        return lost;
    }

protected:
    NativeStreamWriter writer{{}, setup_of(rows.workload())};

private:
    /// Returns the steps that are in none of the group's files. All files must miss the same steps.
    std::vector<StepRange> check_group(std::size_t group) const {
        std::vector<StepRange> missing = check_channel({group, 0});
        for (std::size_t k = 1; k < rows.workload().groups[group].widths.size(); ++k) {
            if (!(check_channel({group, k}) == missing)) {
                throw Mismatch(fmt::format("group {}: the files miss different steps", group));
            }
        }
        return missing;
    }

    /// Returns the number of missing steps, which must be whole batches.
    std::size_t check_lost(std::size_t group, const StepRange& range) const {
        const std::size_t batchStepCount = writer.getBufferSize(group);
        if (range.first % batchStepCount != 0 || range.last % batchStepCount != 0) {
            throw Mismatch(fmt::format("group {}: steps {} to {} are missing, which is no batch",
                                       group, range.first, range.last));
        }
        return range.last - range.first;
    }

    std::vector<StepRange> check_channel(ColumnId column) const {
        const auto store = boost::any_cast<NativeDatastore>(
            writer.dataStore(path_of(column.group, column.channel)));
        return check_files(rows, column, utf8(store.timesLocation()), utf8(store.valuesLocation()));
    }
};

/// A host that must not lose a step. It writes the buffers from its own thread before one is full.
/// flushIntermediate() does not reset the row counts, so clearBuffer() follows it, and no buffer is
/// ever handed over.
class NativeWriterKeepingAll : public NativeWriter {
public:
    NativeWriterKeepingAll(const Rows& workloadRows, const std::filesystem::path& emptyDirectory)
        : NativeWriter(workloadRows, emptyDirectory) {
        std::size_t least = writer.getBufferSize(0);
        for (std::size_t group = 1; group < rows.workload().groups.size(); ++group) {
            least = std::min(least, writer.getBufferSize(group));
        }
        rowLimit = (least - 1) * rows.workload().groups.size();
    }

    void run() override {
        StreamWriter& target = writer;
        std::size_t rowsLeft = rowLimit;
        rows.forEach([&](std::size_t group, double time, const double* values, std::size_t n) {
            target.write(group, time, values, n);
            if (--rowsLeft == 0) {
                target.flushIntermediate();
                writer.clearBuffer();
                rowsLeft = rowLimit;
            }
        });
    }

    std::size_t check() override {
        check_count(NativeWriter::check(), 0);
        return 0;
    }

private:
    std::size_t rowLimit; // of all groups, whose buffers fill in step
};

[[maybe_unused]] const bool added = add_contender<NativeWriter>("native-writer", Suits::anyGroups);
[[maybe_unused]] const bool addedKeepingAll =
    add_contender<NativeWriterKeepingAll>("native-keeping-all", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
