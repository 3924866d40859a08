#include <logging2/backends/recording/recording.hpp>

#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/fuzz/expectations.hpp>
#include <tests/fuzz/fuzz_target.hpp>
#include <tests/support/files.hpp>
#include <tests/support/setups.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

// Recordings whose bytes are changed. Every answer is an error or one that the recording has given.

namespace logging2::core::test {
namespace {

namespace fs = std::filesystem;

using Doubles = std::vector<double>;
using Files = std::map<std::string, std::string>;

constexpr const char* askedPaths[] = {"x", "y", "z"};

GroupSetup readerSetup() {
    return {
        {Group(0), LoggedPathsSetupData(paths({{"x", 1}}), channels({{1, 1}}))},
        {Group(5), LoggedPathsSetupData(paths({{"y", 7}, {"z", 2}}), channels({{7, 1}, {2, 3}}))}};
}

Doubles copyOf(const DoubleView& view) {
    return {view.begin(), view.end()};
}

/// The bits of all that a run tells of a path.
Doubles answerOf(const Run& run, const char* path) {
    const Series series = run.series(ValuePath(path));
    Doubles answer = copyOf(series.times());
    const Doubles values = copyOf(series.values());
    answer.insert(answer.end(), values.begin(), values.end());
    return answer;
}

Doubles overviewOf(const Run& run, const char* path) {
    const Overview overview = run.overview(ValuePath(path), 0.0, 900.0, 5);
    Doubles answer = overview.least;
    answer.insert(answer.end(), overview.greatest.begin(), overview.greatest.end());
    answer.insert(answer.end(), overview.nanCount.begin(), overview.nanCount.end());
    answer.insert(answer.end(), overview.sampleCount.begin(), overview.sampleCount.end());
    return answer;
}

Doubles rangeOf(const Run& run, const char* path) {
    return copyOf(run.series(ValuePath(path), 100.0, 300.0).values());
}

using Question = Doubles (*)(const Run&, const char*);
constexpr Question questions[] = {answerOf, overviewOf, rangeOf};

/// A recording whose host was killed, and the same one when it was finished.
struct Originals {
    Files running;
    Files finished;
    std::map<std::pair<std::string, Question>, std::vector<Doubles>> answers; ///< after each commit

    Originals() {
        const TemporaryDirectory directory;
        RecordingOptions options;
        options.directory = directory.path().string();
        // No chunk becomes full, so that only this thread decides when something is committed.
        options.chunkByteCount = 1 << 16;
        options.commitInterval = std::chrono::hours(1);
        RecordingStreamWriter writer(StreamingAttributes{}, readerSetup(), options);
        const auto run = open_recording(writer.location());
        remember(*run);
        for (std::size_t part = 0; part < 4; ++part) {
            for (std::size_t s = part * 200; s < part * 200 + 250; ++s) {
                const auto time = static_cast<double>(s);
                const double row[] = {time * time, 1.0 / (time + 1.0), -time, 3.0};
                writer.write(0, time, row, 1);
                writer.write(5, time, row, 4);
            }
            commit(writer, *run);
            writer.rollback(0, static_cast<double>(part * 200 + 199));
            writer.rollback(5, static_cast<double>(part * 200 + 99));
            commit(writer, *run);
        }
        running = filesOf(writer.location());
        writer.flush();
        finished = filesOf(writer.location());
    }

    static Files filesOf(const fs::path& directory) {
        Files files;
        for (const auto& entry : fs::directory_iterator(directory)) {
            files[entry.path().filename().string()] = bytesOf(entry.path());
        }
        return files;
    }

    void commit(RecordingStreamWriter& writer, Run& run) {
        writer.flushIntermediate();
        run.refresh();
        remember(run);
    }

    void remember(const Run& run) {
        for (const char* path : askedPaths) {
            for (const Question question : questions) {
                answers[{path, question}].push_back(question(run, path));
            }
        }
    }
};

const Originals& originals() {
    static const Originals made;
    return made;
}

class ReaderScript {
public:
    explicit ReaderScript(ByteScript& bytes)
        : script(bytes),
          files(bytes.flag() ? originals().finished : originals().running) {}

    void run() {
        do {
            change();
        } while (!script.atEnd() && --changesLeft > 0);
        fs::create_directory(directory);
        for (const auto& [name, bytes] : files) {
            writeBytes(directory / name, bytes);
        }
        list_recordings(parent.path().string());
        ask();
    }

private:
    std::size_t anywhere(const std::string& bytes) {
        const std::size_t high = script.below(65536);
        return bytes.empty() ? 0 : (high * 256 + script.byte()) % bytes.size();
    }

    void change() {
        auto file = files.begin();
        std::advance(file, script.below(files.size()));
        std::string& bytes = file->second;
        const std::size_t place = anywhere(bytes);
        switch (script.below(8)) {
        case 0:
            bytes.resize(place);
            break;
        case 1:
            bytes.replace(place, script.below(5000), std::string(script.below(5000), '\0'));
            break;
        case 2: {
            const std::string piece = bytes.substr(anywhere(bytes), 1 + script.below(4200));
            bytes.replace(place, piece.size(), piece);
            break;
        }
        case 3:
            files.erase(file);
            break;
        case 4: {
            const std::string text = script.text(16);
            bytes.replace(place, text.size(), text);
            break;
        }
        default:
            if (!bytes.empty()) {
                bytes[place] = static_cast<char>(static_cast<unsigned char>(bytes[place]) ^
                                                 (1U + script.below(255)));
            }
        }
        if (files.empty()) {
            changesLeft = 1;
        }
    }

    void ask() {
        std::unique_ptr<Run> run;
        try {
            run = open_recording(directory.string());
            run->refresh();
            run->groups();
            run->signals();
        } catch (const RecordingError&) {
        }
        for (const char* path : askedPaths) {
            for (const Question question : questions) {
                if (run) {
                    expectKnown(*run, path, question);
                }
            }
        }
    }

    static void expectKnown(const Run& run, const char* path, Question question) {
        Doubles answer;
        try {
            answer = question(run, path);
        } catch (const RecordingError&) {
            return;
        }
        bool isKnown = false;
        for (const Doubles& one : originals().answers.at({path, question})) {
            isKnown = isKnown ||
                      (one.size() == answer.size() && firstDifference(one, answer) == one.size());
        }
        expect(isKnown, "the recording has never given this answer of ", answer.size(),
               " numbers for ", path);
    }

    ByteScript& script;
    Files files;
    TemporaryDirectory parent;
    fs::path directory = parent.path() / "x.recording";
    std::size_t changesLeft = 8;
};

} // namespace

void runScript(ByteScript& script) {
    ReaderScript(script).run();
}

} // namespace logging2::core::test
