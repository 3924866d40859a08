#include <logging2/native/NativeStreamReader.hpp>

#include <logging2/columns/storage.hpp>
#include <logging2/host/filesystem/ifstream.hpp>
#include <logging2/host/filesystem/operations.hpp>

#include <cstdint>
#include <new>
#include <string>

namespace logging2::core {
namespace {

using Path = fl::filesystem::basic_path<char, char16_t>;

NativeDatastore held_store(const boost::any& store) {
    return store.empty() ? NativeDatastore(u"", u"") : boost::any_cast<NativeDatastore>(store);
}

/// Returns a vector of zeros with one element for each whole double in so many bytes.
std::vector<double> sized_for(std::uint64_t byteCount) {
    std::vector<double> values;
    const std::uint64_t valueCount = byteCount / sizeof(double);
    // Intended: the size of a file that cannot be opened is -1. As an unsigned number this is more
    // than memory can provide.
    if (valueCount > values.max_size()) {
        throw std::bad_alloc();
    }
    detail::reserve_large(values, valueCount);
    values.resize(valueCount);
    return values;
}

void delete_file(const std::u16string& location) noexcept {
    try {
        if (const Path file(location); fl::filesystem::exists(file)) {
            fl::filesystem::remove_file(file);
        }
    } catch (...) {
        // A destructor cannot report the error. The file stays.
    }
}

} // namespace

NativeStreamReader::NativeStreamReader(const boost::any& dataStore)
    : store(std::make_shared<NativeDatastore>(held_store(dataStore))) {}

NativeStreamReader::NativeStreamReader(const NativeStreamReader& other) = default;

NativeStreamReader::~NativeStreamReader() {
    delete_file(store->timesLocation());
    delete_file(store->valuesLocation());
}

std::unique_ptr<StreamReader> NativeStreamReader::clone() const {
    return std::unique_ptr<StreamReader>(new NativeStreamReader(*this));
}

std::vector<double> NativeStreamReader::times() const {
    return read(fl::filesystem::detail::make_native_form(store->timesLocation()));
}

std::pair<std::vector<double>, std::vector<double>> NativeStreamReader::timeseries() const {
    std::vector<double> times = this->times();
    return {std::move(times),
            read(fl::filesystem::detail::make_native_form(store->valuesLocation()))};
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
std::vector<double> NativeStreamReader::read(const Path& file) const {
    if (!fl::filesystem::exists(file)) {
        return {};
    }
    fl::filesystem::ifstream stream(file);
    stream.seekg(0, std::ios::end);
    const auto byteCount = static_cast<std::uint64_t>(std::streamoff(stream.tellg()));
    stream.seekg(0, std::ios::beg);
    std::vector<double> values = sized_for(byteCount);
    stream.read(reinterpret_cast<char*>(values.data()),
                static_cast<std::streamsize>(values.size() * sizeof(double)));
    return values;
}

} // namespace logging2::core
