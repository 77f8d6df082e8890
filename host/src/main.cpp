#include "descriptor_limit.h"
#include "exit_codes.h"
#include "host.h"
#include "options.h"

#include <kelp/util/core_dumps.h>

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    using namespace kelp::host;
    kelp::util::setCoreDumps(false);
    try {
        int exitCode = kStopped;
        const auto options = parseOptions(argc, argv, exitCode);
        if (!options)
            return exitCode;
        raiseDescriptorLimit();
        return options->checkOnly ? checkConfiguration(*options) : runService(*options);
    } catch (const std::exception& problem) {
        std::cerr << "kelpd: internal error: " << problem.what() << '\n';
        return kInternalError;
    }
}
