#pragma once
// The command-line tool over the library's own code paths; the platform's main hands it the
// arguments as UTF-16 and receives the bytes to write.
#include <string>
#include <vector>

namespace kes::cli {

struct Output {
    std::string out;   // bytes for stdout
    std::string err;   // bytes for stderr
};

// Runs one command line (without the program name); returns the exit code.
int run(const std::vector<std::u16string>& args, Output& output);

}  // namespace kes::cli
