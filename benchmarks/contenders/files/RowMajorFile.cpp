#include <benchmarks/contenders/registration.hpp>

#include <benchmarks/contenders/checks.hpp>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>
#include <vector>

namespace logging2::core::bench {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File open_file(const std::filesystem::path& path, const char* mode) {
    File file(std::fopen(path.c_str(), mode));
    if (!file) {
        throw std::system_error(errno, std::generic_category(), path.string());
    }
    return file;
}

/// One file per group. The time and the values of each row go through the C library's buffer.
class RowMajorFile : public Contender {
public:
    RowMajorFile(const Rows& workloadRows, const std::filesystem::path& emptyDirectory)
        : Contender(workloadRows, emptyDirectory) {
        for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
            files.push_back(open_file(pathOf(group), "wb"));
        }
    }

    void run() override {
        rows.forEach([this](std::size_t group, double time, const double* values, std::size_t n) {
            std::fwrite(&time, sizeof time, 1, files[group].get());
            std::fwrite(values, sizeof(double), n, files[group].get());
        });
    }

    void finish() override { files.clear(); }

    std::size_t check() override {
        for (std::size_t group = 0; group < rows.workload().groups.size(); ++group) {
            check_group(group, open_file(pathOf(group), "rb"));
        }
        return 0;
    }

private:
    std::filesystem::path pathOf(std::size_t group) const {
        return directory / ("rows_" + std::to_string(group));
    }

    void check_group(std::size_t group, const File& file) const {
        std::vector<double> row(rows.workload().groups[group].valueCount() + 1);
        std::size_t step = 0;
        while (std::fread(row.data(), sizeof(double), row.size(), file.get()) == row.size()) {
            check_row(rows, group, step++, row[0], row.data() + 1);
        }
        check_count(step, rows.workload().stepCount);
    }

    std::vector<File> files;
};

[[maybe_unused]] const bool added = add_contender<RowMajorFile>("fwrite", Suits::anyGroups);

} // namespace
} // namespace logging2::core::bench
