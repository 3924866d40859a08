#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

// Runs a fuzz target once on every file of the given directories, in a build without libFuzzer. A
// missing or empty directory is an error.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count);

namespace {

void replay(const std::filesystem::path& file) {
    // Printed before the run, because a target that finds something ends the process.
    std::clog << file.string() << '\n';
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::size_t replay_all(const std::filesystem::path& directory) {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        replay(entry.path());
        ++count;
    }
    std::cout << count << " inputs of " << directory.string() << " replayed\n";
    return count;
}

} // namespace

int main(int argc, char** argv) {
    try {
        bool complete = argc > 1;
        for (int i = 1; i < argc; ++i) {
            complete = replay_all(argv[i]) > 0 && complete;
        }
        return complete ? 0 : 1;
    } catch (const std::exception& problem) {
        std::cerr << problem.what() << '\n';
        return 1;
    }
}
