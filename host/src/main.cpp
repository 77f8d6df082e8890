#include <kelp/util/core_dumps.h>
#include <kelp/util/stopping.h>
#include <unistd.h>

#include <exception>
#include <iostream>

#include "descriptor_limit.h"
#include "exit_codes.h"
#include "host.h"
#include "options.h"

int main(int argc, char** argv) {
    using namespace kelp::host;
    kelp::util::setCoreDumps(false);
    try {
        int exitCode = kStopped;
        const auto options = parseOptions(argc, argv, exitCode);
        if (!options)
            return exitCode;
        raiseDescriptorLimit();
        if (options->checkOnly)
            return checkConfiguration(*options);
        exitCode = runService(*options);
        // without the destructors of static objects, which would destroy what is still in use
        if (kelp::util::isAnythingLeftRunning())
            ::_exit(exitCode);
        return exitCode;
    } catch (const std::exception& problem) {
        std::cerr << "kelpd: internal error: " << problem.what() << '\n';
        return kInternalError;
    }
}
