#include "exit_codes.h"
#include "host.h"
#include "options.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    using namespace kelp::host;
    try {
        int exitCode = kStopped;
        const auto options = parseOptions(argc, argv, exitCode);
        if (!options)
            return exitCode;
        return options->checkOnly ? checkConfiguration(*options) : runService(*options);
    } catch (const std::exception& problem) {
        std::cerr << "kelpd: internal error: " << problem.what() << '\n';
        return kInternalError;
    }
}
