#include <logging2/memory/MemoryDatastore.hpp>
#include <logging2/native/NativeStreamReader.hpp>

#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/fuzz/expectations.hpp>
#include <tests/fuzz/fuzz_target.hpp>
#include <tests/support/files.hpp>

#include <array>
#include <cstring>
#include <memory>
#include <typeinfo>
#include <utility>

// Files of arbitrary bytes, read by readers of one store and their clones. The results are compared
// with copies of the bytes.

namespace logging2::core::test {
namespace {

using Doubles = std::vector<double>;

/// The expected state of a file; no bytes if it is missing.
struct ExpectedFile {
    std::filesystem::path path;
    std::unique_ptr<std::string> bytes;
};

Doubles wholeDoubles(const ExpectedFile& file) {
    const std::size_t byteCount = file.bytes ? file.bytes->size() : 0;
    Doubles doubles(byteCount / sizeof(double));
    if (!doubles.empty()) {
        std::memcpy(doubles.data(), file.bytes->data(), doubles.size() * sizeof(double));
    }
    return doubles;
}

class ReaderScript {
public:
    explicit ReaderScript(ByteScript& bytes) : script(bytes) {
        // Both locations may be the same file, or name no file.
        timesFile = script.below(8) == 7 ? nowhere : 0;
        const std::size_t pick = script.below(8);
        valuesFile = pick == 7 ? nowhere : pick == 6 ? 0 : 1;
        files[0].path = directory.path() / (script.flag() ? "u_times_0" : "\xc3\xbc_times_0");
        files[1].path = directory.path() / "u_values_0_3";
        put(0);
        put(1);
        readers.push_back(std::make_unique<NativeStreamReader>(boost::any(store())));
    }

    void run() {
        while (!script.atEnd() && !readers.empty() && callsLeft-- > 0) {
            step();
        }
        while (!readers.empty()) {
            compareSeries();
            destroyReader();
        }
    }

private:
    static constexpr std::size_t nowhere = 2;

    void step() {
        using Operation = void (ReaderScript::*)();
        static constexpr Operation operations[] = {
            &ReaderScript::compareTimes, &ReaderScript::compareSeries, &ReaderScript::compareRead,
            &ReaderScript::cloneReader,  &ReaderScript::addReader,     &ReaderScript::destroyReader,
            &ReaderScript::changeFile,   &ReaderScript::appendToFile,  &ReaderScript::cutFile,
            &ReaderScript::refuseOthers, &ReaderScript::readNothing};
        (this->*script.oneOf(operations))();
    }

    std::u16string locationOf(std::size_t file) const {
        return foundation::utf8_string_to_ustring(files[file].path.string());
    }

    NativeDatastore store() const { return {locationOf(timesFile), locationOf(valuesFile)}; }

    /// A few bytes of the script, or more bytes than a script can hold.
    std::string scriptedBytes() {
        if (script.flag()) {
            return script.text(80);
        }
        std::string bytes(script.below(40000), '\0');
        const std::size_t seed = script.byte();
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>((i * 167 + seed) >> (i % 3));
        }
        return bytes;
    }

    void put(std::size_t file) {
        if (script.below(4) == 3) {
            std::filesystem::remove(files[file].path);
            files[file].bytes.reset();
            return;
        }
        files[file].bytes = std::make_unique<std::string>(scriptedBytes());
        writeBytes(files[file].path, *files[file].bytes);
    }

    const StreamReader& anyReader() { return *readers[script.below(readers.size())]; }

    void compareTimes() {
        expectSameBits(anyReader().times(), wholeDoubles(files[timesFile]), "times");
    }

    void compareSeries() {
        const auto [times, values] = anyReader().timeseries();
        expectSameBits(times, wholeDoubles(files[timesFile]), "times of the series");
        expectSameBits(values, wholeDoubles(files[valuesFile]), "values of the series");
    }

    void compareRead() {
        const std::size_t file = script.below(3);
        const NativeStreamReader reader{boost::any()};
        const auto path = fl::filesystem::detail::make_native_form(locationOf(file));
        expectSameBits(reader.read(path), wholeDoubles(files[file]), "file ", file);
    }

    void cloneReader() {
        readers.push_back(anyReader().clone());
        const StreamReader& clone = *readers.back();
        expect(typeid(clone) == typeid(NativeStreamReader), "a clone is of another type");
    }

    void addReader() {
        readers.push_back(std::make_unique<NativeStreamReader>(boost::any(store())));
    }

    /// Destroys a reader, which deletes both files even if other readers use them.
    void destroyReader() {
        const std::size_t doomed = script.below(readers.size());
        readers.erase(readers.begin() + static_cast<std::ptrdiff_t>(doomed));
        files[timesFile].bytes.reset();
        files[valuesFile].bytes.reset();
        for (const ExpectedFile& file : files) {
            expectEqual(std::filesystem::exists(file.path), file.bytes != nullptr,
                        "after a reader, existence of ", file.path);
        }
    }

    void changeFile() { put(script.below(2)); }

    void appendToFile() {
        ExpectedFile& file = files[script.below(2)];
        if (file.bytes) {
            *file.bytes += script.text(20);
            writeBytes(file.path, *file.bytes);
        }
    }

    void cutFile() {
        ExpectedFile& file = files[script.below(2)];
        if (file.bytes) {
            file.bytes->resize(script.below(file.bytes->size() + 1));
            std::filesystem::resize_file(file.path, file.bytes->size());
        }
    }

    void refuseOthers() {
        expectThrows<boost::bad_any_cast>([] { NativeStreamReader{boost::any(1)}; }, "an int");
        expectThrows<boost::bad_any_cast>([] { NativeStreamReader{boost::any(MemoryDatastore{})}; },
                                          "a memory store");
    }

    void readNothing() {
        const NativeStreamReader reader{boost::any()};
        const auto [times, values] = reader.timeseries();
        expect(times.empty() && values.empty(), "an empty store has data");
    }

    ByteScript& script;
    TemporaryDirectory directory;
    std::array<ExpectedFile, 3> files; // the last one, without a path, is nowhere
    std::size_t timesFile = 0;
    std::size_t valuesFile = 1;
    std::vector<std::unique_ptr<StreamReader>> readers;
    std::size_t callsLeft = 100;
};

} // namespace

void runScript(ByteScript& script) {
    ReaderScript(script).run();
}

} // namespace logging2::core::test
