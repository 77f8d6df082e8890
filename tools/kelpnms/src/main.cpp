#include "commands.h"
#include "exit_codes.h"
#include "password.h"

namespace {

using namespace kelp::nms;

int run(const Options& options) {
    Interrupts interrupts;
    const auto report = std::make_shared<Report>(options.json, options.verbose);
    try {
        return runCommand(options, report, interrupts);
    } catch (const NoPassword& problem) {
        Report::error(problem.what());
        return kUsageError;
    } catch (const Unreachable& problem) {
        Report::error(problem.what());
        return kNotReachable;
    } catch (const LoginRefused& problem) {
        Report::error(problem.what());
        return kLoginRefused;
    } catch (const NmsError& problem) {
        Report::error(problem.what());
        return kCallFailed;
    } catch (const std::invalid_argument& problem) {
        Report::error(problem.what());
        return kUsageError;
    } catch (const std::exception& problem) {
        Report::error(std::string("internal error: ") + problem.what());
        return kInternalError;
    }
}

}  // namespace

int main(int argc, char** argv) {
    int exitCode = kDone;
    const auto options = parseOptions(argc, argv, exitCode);
    return options ? run(*options) : exitCode;
}
