#include <tools/command_line.hpp>

int main(int argc, char** argv) {
    return logging2::tools::run_command_line(argc, argv, logging2::tools::Terminal::ofProcess());
}
