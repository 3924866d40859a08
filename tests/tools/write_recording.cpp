#include <logging2/backends/recording/recording.hpp>
#include <logging2/logging2.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

// Writes a recording as the lines of its standard input say, one after the other:
//   name NAME                    the stream's name
//   property NAME VALUE          a note of the run
//   compress                     with LZ4
//   chunk BYTES                  the greatest number of bytes of a chunk
//   group ID PATH:WIDTH...       a group with these signals; ALIAS=PATH shows the channel of PATH
//   begin                        makes the recording in the directory that is the argument, and
//                                prints where it is
//   write ID TIME VALUE...       logs a step
//   wave ID COUNT LENGTH         logs steps at 0, LENGTH, 2 LENGTH, ...; the value is the sine of
//                                the time, and 2 for every 1,000,000th one
//   rate N                       from now on, `wave` logs N steps per second
//   ramp ID WIDTH COUNT START    logs so many steps at START, START + 1, …; the times are the
//                                values as well
//   zigzag ID COUNT OFFSET N     logs steps at 0, 1, 2, ...; the values are OFFSET and 0 to 6 in
//                                turn, and NaN every N steps if N is not 0
//   rollback ID TIME             takes steps back
//   show                         shows all steps to readers, and prints "shown"
//   end                          ends the run as finished
// If the input ends before `end`, the process ends like one that was killed.

namespace logging2::core {
namespace {

using lang::core::ValuePath;

class Script {
public:
    explicit Script(const std::string& directory) {
        options.directory = directory;
        options.heldBackSteps = 0;
    }

    void obey(const std::string& line) {
        std::istringstream words(line);
        std::string verb;
        words >> verb;
        if (verb == "name") {
            std::string name;
            words >> name;
            attributes.name = foundation::BasicTableString<char>(name);
        } else if (verb == "property") {
            std::string name;
            words >> name >> std::ws;
            std::getline(words, options.properties[name]);
        } else if (verb == "compress") {
            options.compression = Compression::lz4;
        } else if (verb == "chunk") {
            words >> options.chunkByteCount;
        } else if (verb == "group") {
            addGroup(words);
        } else if (verb == "begin") {
            begin();
        } else if (verb == "write") {
            write(words);
        } else if (verb == "wave") {
            wave(words);
        } else if (verb == "rate") {
            words >> stepsPerSecond;
        } else if (verb == "ramp") {
            ramp(words);
        } else if (verb == "zigzag") {
            zigzag(words);
        } else if (verb == "rollback") {
            std::size_t group = 0;
            words >> group;
            writer->rollback(group, number(words));
        } else if (verb == "show") {
            writer->flushIntermediate();
            std::cout << "shown" << std::endl;
        } else if (verb == "end") {
            writer->flush();
            writer.reset();
            hasEnded = true;
        } else if (!verb.empty()) {
            throw std::runtime_error("unknown line: " + line);
        }
    }

    bool ended() const { return hasEnded; }

private:
    /// Also "nan" and "inf", which streams do not read.
    static double number(std::istringstream& words) {
        std::string word;
        words >> word;
        return std::strtod(word.c_str(), nullptr);
    }

    static LoggedPath aliasIn(const std::vector<LoggedPath>& paths, const std::string& word) {
        const std::size_t sign = word.find('=');
        const ValuePath original(word.substr(sign + 1));
        const auto found =
            std::find_if(paths.begin(), paths.end(),
                         [&original](const LoggedPath& path) { return path.path == original; });
        return {ValuePath(word.substr(0, sign)), found->id};
    }

    void addGroup(std::istringstream& words) {
        std::size_t id = 0;
        words >> id;
        std::vector<LoggedPath> paths;
        std::vector<LoggedChannel> channels;
        for (std::string word; words >> word;) {
            const std::size_t colon = word.rfind(':');
            if (colon == std::string::npos) {
                paths.push_back(aliasIn(paths, word));
                continue;
            }
            const CoreDataId channel(nextChannel++);
            paths.push_back({ValuePath(word.substr(0, colon)), channel});
            channels.push_back({channel, std::stoul(word.substr(colon + 1))});
        }
        setup.insert(Group(id), LoggedPathsSetupData(paths, channels));
    }

    void begin() {
        writer = std::make_unique<RecordingStreamWriter>(attributes, setup, options);
        std::cout << writer->location() << std::endl;
    }

    void write(std::istringstream& words) {
        std::size_t group = 0;
        words >> group;
        const double time = number(words);
        std::vector<double> values;
        for (words >> std::ws; words.peek() != std::istringstream::traits_type::eof();
             words >> std::ws) {
            values.push_back(number(words));
        }
        writer->write(group, time, values.data(), values.size());
    }

    void wave(std::istringstream& words) {
        constexpr std::size_t stepsPerSpike = 1'000'000;
        std::size_t group = 0;
        std::size_t count = 0;
        words >> group >> count;
        const double length = number(words);
        const auto start = std::chrono::steady_clock::now();
        for (std::size_t step = 0; step < count; ++step) {
            const double time = static_cast<double>(step) * length;
            const double value = step % stepsPerSpike == stepsPerSpike / 2 ? 2 : std::sin(time);
            writer->write(group, time, &value, 1);
            pace(start, step + 1);
        }
    }

    /// Waits until so many steps are due.
    void pace(std::chrono::steady_clock::time_point start, std::size_t stepCount) const {
        constexpr std::size_t stepsPerLook = 100;
        if (stepsPerSecond > 0 && stepCount % stepsPerLook == 0) {
            std::this_thread::sleep_until(
                start + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                            std::chrono::duration<double>(static_cast<double>(stepCount) /
                                                          stepsPerSecond)));
        }
    }

    void ramp(std::istringstream& words) {
        std::size_t group = 0;
        std::size_t width = 0;
        std::size_t count = 0;
        words >> group >> width >> count;
        const double start = number(words);
        std::vector<double> values(width);
        for (std::size_t step = 0; step < count; ++step) {
            std::fill(values.begin(), values.end(), start + static_cast<double>(step));
            writer->write(group, values.front(), values.data(), width);
        }
    }

    void zigzag(std::istringstream& words) {
        std::size_t group = 0;
        std::size_t count = 0;
        std::size_t stepsPerNan = 0;
        words >> group >> count;
        const double offset = number(words);
        words >> stepsPerNan;
        for (std::size_t step = 0; step < count; ++step) {
            const bool isNan = stepsPerNan > 0 && step % stepsPerNan == 0;
            const double value = isNan ? std::numeric_limits<double>::quiet_NaN()
                                       : static_cast<double>(step % 7) + offset;
            writer->write(group, static_cast<double>(step), &value, 1);
        }
    }

    double stepsPerSecond = 0; ///< 0: as fast as possible
    RecordingOptions options;
    StreamingAttributes attributes;
    SequenceMap<Group, LoggedPathsSetupData> setup;
    std::size_t nextChannel = 0;
    std::unique_ptr<RecordingStreamWriter> writer;
    bool hasEnded = false;
};

} // namespace
} // namespace logging2::core

int main(int argc, char** argv) {
    try {
        logging2::core::Script script(argc > 1 ? argv[1] : ".");
        for (std::string line; !script.ended() && std::getline(std::cin, line);) {
            script.obey(line);
        }
        if (!script.ended()) {
            std::_Exit(0);
        }
        return 0;
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
