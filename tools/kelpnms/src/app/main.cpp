#include <kelp/util/core_dumps.h>
#include <kelp/util/trace_log.h>

#include "app/commands.h"
#include "app/exit_codes.h"
#include "app/password.h"
#include "common/hidden_input.h"

namespace {

using namespace kelp::nms;

/// Show the ORB's diagnostics only with --verbose.
void openTrace(bool verbose) {
    kelp::util::TraceSettings settings;
    settings.console = verbose;
    std::string whyNot;
    if (!kelp::util::TraceLog::instance().open(settings, whyNot))
        Report::error(whyNot);
}

int run(const CommandLine& line, const std::string& password) {
    Interrupts interrupts;
    openTrace(line.connection.verbose);
    const auto report = std::make_shared<Report>(line.connection.json, line.connection.verbose);
    try {
        return runCommand(line, password, report, interrupts);
    } catch (const NoPassword& problem) {
        Report::error(problem.what());
        return kUsageError;
    } catch (const CannotListen& problem) {
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
    kelp::util::setCoreDumps(false);  // the process keeps the password, to log in again
    int exitCode = kDone;
    const auto line = parseCommandLine(argc, argv, exitCode);
    if (!line)
        return exitCode;
    if (!line->command.logsIn)
        return run(*line, {});
    // read before the first thread starts, so that a signal can restore the terminal
    try {
        const kelp::util::Secret password =
            readPassword(line->connection.passwordFile, line->connection.user);
        return run(*line, password.text());
    } catch (const NoPassword& problem) {
        Report::error(problem.what());
        return kUsageError;
    } catch (const kelp::tools::InputInterrupted& problem) {
        Report::error(problem.what());
        return 128 + problem.signal();
    }
}
