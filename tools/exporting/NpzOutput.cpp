#include <tools/exporting/ColumnOutput.hpp>

#include <tools/UsageError.hpp>
#include <tools/exporting/names.hpp>

#include <archive.h>
#include <archive_entry.h>

#include <system_error>
#include <utility>

namespace logging2::tools {
namespace {

constexpr int blockByteCount = 1 << 20;
constexpr std::size_t alignment = 64;

/// The header of an array of doubles; see numpy.lib.format. An array of a signal of width 1 has one
/// dimension.
std::string npy_header(std::size_t stepCount, std::size_t width) {
    const std::string shape =
        std::to_string(stepCount) + (width == 1 ? "," : ", " + std::to_string(width));
    std::string text = "{'descr': '<f8', 'fortran_order': False, 'shape': (" + shape + "), }";
    constexpr std::size_t startByteCount = 10;
    text.append(alignment - (startByteCount + text.size() + 1) % alignment, ' ');
    text += '\n';
    std::string start = "\x93NUMPY";
    start += '\x01';
    start += '\0';
    start += static_cast<char>(text.size() % 256);
    start += static_cast<char>(text.size() / 256);
    return start + text;
}

struct FreeArchive {
    void operator()(archive* handle) const noexcept { archive_write_free(handle); }
};

struct FreeEntry {
    void operator()(archive_entry* entry) const noexcept { archive_entry_free(entry); }
};

class NpzOutput final : public ColumnOutput {
public:
    NpzOutput(NewFile newFile, const std::vector<GroupSignals>& groups, bool compresses)
        : file(std::move(newFile)) {
        // The names of the times are those that every reader expects.
        for (const GroupSignals& group : groups) {
            timesNames.push_back(names.take(name_of_group(group.group) + "/time"));
        }
        archive* const zip = handle.get();
        check(archive_write_set_format_zip(zip));
        check(compresses ? archive_write_zip_set_compression_deflate(zip)
                         : archive_write_zip_set_compression_store(zip));
        check(archive_write_set_format_option(zip, "zip", "hdrcharset", "UTF-8"));
        check(archive_write_set_bytes_per_block(zip, blockByteCount));
        check(archive_write_set_bytes_in_last_block(zip, 1));
        check(archive_write_open_filename(zip, file.temporary.c_str()));
    }

    void beginGroup(const GroupSignals&, std::size_t stepCountOfGroup) override {
        stepCount = stepCountOfGroup;
        ++groupCount;
    }

    void beginTimes() override { beginArray(timesNames[groupCount - 1], 1); }

    bool beginSignal(const core::SignalInfo& signal) override {
        beginArray(names.take(name_of_path(signal.path.text())), signal.width);
        return true;
    }

    void add(const std::vector<double>& values) override {
        write(values.data(), values.size() * sizeof(double));
    }

    void end() override { check(archive_write_close(handle.get())); }

private:
    void beginArray(const std::string& name, std::size_t width) {
        const std::string header = npy_header(stepCount, width);
        const std::unique_ptr<archive_entry, FreeEntry> entry(archive_entry_new());
        archive_entry_set_pathname_utf8(entry.get(), (name + ".npy").c_str());
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_perm(entry.get(), 0644);
        archive_entry_set_size(
            entry.get(),
            static_cast<la_int64_t>(header.size() + stepCount * width * sizeof(double)));
        check(archive_write_header(handle.get(), entry.get()));
        write(header.data(), header.size());
    }

    void write(const void* data, std::size_t byteCount) {
        const auto* rest = static_cast<const char*>(data);
        while (byteCount > 0) {
            const la_ssize_t count = archive_write_data(handle.get(), rest, byteCount);
            check(count > 0 ? ARCHIVE_OK : ARCHIVE_FATAL);
            rest += count;
            byteCount -= static_cast<std::size_t>(count);
        }
    }

    void check(int status) {
        if (status != ARCHIVE_OK) {
            const int error = archive_errno(handle.get());
            throw UsageError(file.target.string() + ": cannot be written: " +
                             (error > 0 ? std::generic_category().message(error)
                                        : archive_error_string(handle.get())));
        }
    }

    NewFile file;
    std::unique_ptr<archive, FreeArchive> handle{archive_write_new()};
    UniqueNames names;
    std::vector<std::string> timesNames;
    std::size_t groupCount = 0; ///< of the groups that were begun
    std::size_t stepCount = 0;  ///< of the present group
};

} // namespace

std::unique_ptr<ColumnOutput> npz_output(const NewFile& file,
                                         const std::vector<GroupSignals>& groups, bool compresses) {
    return std::make_unique<NpzOutput>(file, groups, compresses);
}

} // namespace logging2::tools
