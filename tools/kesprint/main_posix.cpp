#include <cstdio>

#include "kesprint.h"
#include "text/utf8.h"

int main(int argc, char** argv) {
    std::vector<std::u16string> args;
    for (int i = 1; i < argc; ++i) args.push_back(kes::fromUtf8(argv[i]));
    kes::cli::Output output;
    const int code = kes::cli::run(args, output);
    std::fwrite(output.out.data(), 1, output.out.size(), stdout);
    std::fwrite(output.err.data(), 1, output.err.size(), stderr);
    return code;
}
