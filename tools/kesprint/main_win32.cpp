#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>

#include "kesprint.h"

// Wide arguments, so that file names and values in any script reach the tool intact; output
// bytes are written unchanged (UTF-8), never translated by the console's code page.
int wmain(int argc, wchar_t** argv) {
    std::vector<std::u16string> args;
    for (int i = 1; i < argc; ++i) args.emplace_back(reinterpret_cast<const char16_t*>(argv[i]));
    kes::cli::Output output;
    const int code = kes::cli::run(args, output);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    std::fwrite(output.out.data(), 1, output.out.size(), stdout);
    std::fwrite(output.err.data(), 1, output.err.size(), stderr);
    return code;
}
