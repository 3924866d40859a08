#include <tools/exporting/ColumnOutput.hpp>

#include <tools/UsageError.hpp>
#include <tools/commands/describe.hpp>
#include <tools/exporting/Hdf5Handle.hpp>
#include <tools/exporting/names.hpp>
#include <tools/terminal/text.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <system_error>
#include <utility>

namespace logging2::tools {
namespace {

constexpr std::size_t chunkValueCount = std::size_t{1} << 16;
constexpr unsigned deflateLevel = 4;

/// Errors are exceptions here, and the library must not try again at the end of the process to
/// write what it could not write.
void prepare_library() {
    H5dont_atexit();
    H5open();
    H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
}

class Hdf5Output final : public ColumnOutput {
public:
    Hdf5Output(NewFile newFile, const core::RunInfo& run, bool compressesColumns)
        : file(std::move(newFile)),
          compresses(compressesColumns) {
        prepare_library();
        errno = 0;
        handle = opened(H5Fcreate(file.temporary.c_str(), H5F_ACC_EXCL, H5P_DEFAULT, H5P_DEFAULT),
                        H5Fclose);
        textType = opened(H5Tcopy(H5T_C_S1), H5Tclose);
        check(H5Tset_size(textType.get(), H5T_VARIABLE));
        check(H5Tset_cset(textType.get(), H5T_CSET_UTF8));
        linkProperties = opened(H5Pcreate(H5P_LINK_CREATE), H5Pclose);
        check(H5Pset_char_encoding(linkProperties.get(), H5T_CSET_UTF8));
        describe(run);
    }

    void beginGroup(const GroupSignals& groupToWrite, std::size_t stepCountOfGroup) override {
        errno = 0;
        column = {};
        group = newGroup(name_of_group(groupToWrite.group));
        addNumber(group, "group", groupToWrite.group);
        signals = groupToWrite.signals;
        stepCount = stepCountOfGroup;
        names = {};
        names.take("time");
        namesOfChannels.clear();
    }

    void beginTimes() override { beginColumn("time", 1); }

    bool beginSignal(const core::SignalInfo& signal) override {
        const std::string name = names.take(hdf5_name_of_path(signal.path.text()));
        const auto [former, isNew] = namesOfChannels.emplace(signal.channel, name);
        if (!isNew) {
            check(H5Lcreate_hard(group.get(), former->second.c_str(), group.get(), name.c_str(),
                                 linkProperties.get(), H5P_DEFAULT));
            return false;
        }
        beginColumn(name, signal.width);
        addText(column, "path", signal.path.text());
        addAliases(signal);
        return true;
    }

    void add(const std::vector<double>& values) override {
        if (values.empty()) {
            return;
        }
        errno = 0;
        const std::array<hsize_t, 2> start{writtenCount, 0};
        const std::array<hsize_t, 2> count{values.size() / width, width};
        const Hdf5Handle place = opened(H5Dget_space(column.get()), H5Sclose);
        check(H5Sselect_hyperslab(place.get(), H5S_SELECT_SET, start.data(), nullptr, count.data(),
                                  nullptr));
        const Hdf5Handle memory =
            opened(H5Screate_simple(dimensionCount(), count.data(), nullptr), H5Sclose);
        check(H5Dwrite(column.get(), H5T_NATIVE_DOUBLE, memory.get(), place.get(), H5P_DEFAULT,
                       values.data()));
        writtenCount += count[0];
    }

    void end() override {
        errno = 0;
        // What is still buffered is written here.
        check(column.release());
        check(group.release());
        check(H5Fflush(handle.get(), H5F_SCOPE_GLOBAL));
        check(handle.release());
    }

private:
    void describe(const core::RunInfo& run) {
        addText(handle, "id", run.id);
        addText(handle, "name", run.name);
        addText(handle, "state", name_of(run.state));
        addText(handle, "start", utc_text(run.start));
        if (run.end) {
            addText(handle, "end", utc_text(*run.end));
        }
        addNumber(handle, "revision", run.revision);
        const Hdf5Handle properties = newGroup("properties");
        UniqueNames attributes;
        for (const auto& [name, value] : run.properties) {
            const std::string attribute = name.empty() ? "_" : name_of_path(name);
            addText(properties, attributes.take(attribute), value);
        }
    }

    void beginColumn(const std::string& name, std::size_t widthOfColumn) {
        errno = 0;
        check(column.release());
        width = widthOfColumn;
        writtenCount = 0;
        const std::array<hsize_t, 2> shape{stepCount, width};
        const Hdf5Handle space =
            opened(H5Screate_simple(dimensionCount(), shape.data(), nullptr), H5Sclose);
        const Hdf5Handle layout = opened(H5Pcreate(H5P_DATASET_CREATE), H5Pclose);
        if (compresses && stepCount > 0 && width > 0) {
            compress(layout);
        }
        column = opened(H5Dcreate2(group.get(), name.c_str(), H5T_IEEE_F64LE, space.get(),
                                   linkProperties.get(), layout.get(), H5P_DEFAULT),
                        H5Dclose);
    }

    void compress(const Hdf5Handle& layout) const {
        const std::array<hsize_t, 2> chunk{
            std::clamp<hsize_t>(chunkValueCount / width, 1, stepCount), width};
        check(H5Pset_chunk(layout.get(), dimensionCount(), chunk.data()));
        check(H5Pset_shuffle(layout.get()));
        check(H5Pset_deflate(layout.get(), deflateLevel));
    }

    /// A signal of width 1 has one dimension.
    int dimensionCount() const noexcept { return width == 1 ? 1 : 2; }

    /// The other paths of the signal's channel, if there are any.
    void addAliases(const core::SignalInfo& signal) const {
        std::vector<const char*> texts;
        for (const core::SignalInfo& other : signals) {
            if (other.channel == signal.channel && other.path != signal.path) {
                texts.push_back(other.path.text().c_str());
            }
        }
        if (!texts.empty()) {
            const hsize_t count = texts.size();
            addAttribute(column, "aliases", textType.get(),
                         opened(H5Screate_simple(1, &count, nullptr), H5Sclose), texts.data());
        }
    }

    Hdf5Handle newGroup(const std::string& name) const {
        return opened(
            H5Gcreate2(handle.get(), name.c_str(), linkProperties.get(), H5P_DEFAULT, H5P_DEFAULT),
            H5Gclose);
    }

    void addAttribute(const Hdf5Handle& object, const std::string& name, hid_t type,
                      const Hdf5Handle& space, const void* value) const {
        const Hdf5Handle attribute = opened(
            H5Acreate2(object.get(), name.c_str(), type, space.get(), H5P_DEFAULT, H5P_DEFAULT),
            H5Aclose);
        check(H5Awrite(attribute.get(), type, value));
    }

    void addText(const Hdf5Handle& object, const std::string& name, const std::string& text) const {
        const char* const value = text.c_str();
        addAttribute(object, name, textType.get(), opened(H5Screate(H5S_SCALAR), H5Sclose), &value);
    }

    void addNumber(const Hdf5Handle& object, const std::string& name, std::uint64_t number) const {
        addAttribute(object, name, H5T_NATIVE_UINT64, opened(H5Screate(H5S_SCALAR), H5Sclose),
                     &number);
    }

    Hdf5Handle opened(hid_t id, Hdf5Handle::Close close) const {
        check(id < 0 ? -1 : 0);
        return {id, close};
    }

    void check(herr_t status) const {
        if (status < 0) {
            throw UsageError(file.target.string() + ": cannot be written: " +
                             (errno != 0 ? std::generic_category().message(errno)
                                         : "the HDF5 library reports an error"));
        }
    }

    NewFile file;
    bool compresses;
    Hdf5Handle handle; ///< of the file; closed after everything in it
    Hdf5Handle textType;
    Hdf5Handle linkProperties;
    Hdf5Handle group;
    Hdf5Handle column;
    std::vector<core::SignalInfo> signals;
    UniqueNames names;
    std::map<std::size_t, std::string> namesOfChannels;
    std::size_t stepCount = 0;    ///< of the present group
    std::size_t width = 0;        ///< of the present column
    std::size_t writtenCount = 0; ///< of its steps
};

} // namespace

std::unique_ptr<ColumnOutput> hdf5_output(const NewFile& file, const core::RunInfo& run,
                                          bool compresses) {
    return std::make_unique<Hdf5Output>(file, run, compresses);
}

} // namespace logging2::tools
