#include <kelp/nms/client.h>
#include <kelp/orb/exception_text.h>
#include <mtnm/globaldefs.h>

#include <exception>
#include <iostream>

#include "common/process_usage.h"
#include "common/report.h"
#include "options.h"
#include "session/calls.h"
#include "session/guesses.h"
#include "session/hashing.h"
#include "session/log_ins.h"
#include "session/memory.h"
#include "session/operator_views.h"
#include "session/records.h"

namespace {

using namespace kelp::bench;

constexpr int kFailed = 1;

Report measureAll(const Options& options) {
    Report report;
    report.machine = machineInWords();
    report.loadBefore = loadOfMachine();
    kelp::nms::NmsSettings settings;
    settings.listen = "127.0.0.1:0";
    kelp::nms::NmsClient client(settings);
    if (options.calls)
        report.add(measureCalls(client, options));
    if (options.logIns)
        report.add(measureLogIns(client, options));
    if (options.memory)
        report.add(measureMemory(client, options));
    if (options.records)
        report.add(measureRecords());
    if (options.hashing)
        report.add(measureHashing());
    if (options.guesses)
        report.add(measureGuesses(client, options));
    if (options.operatorViews)
        report.add(measureOperatorViews(client, options));
    report.loadAfter = loadOfMachine();
    return report;
}

}  // namespace

int main(int argc, char** argv) {
    int exitCode = 0;
    const std::optional<Options> options = parseOptions(argc, argv, exitCode);
    if (!options)
        return exitCode;
    try {
        raiseOpenFilesLimit();
        const Report report = measureAll(*options);
        if (options->json)
            printAsJson(report, std::cout);
        else
            printAsTable(report, std::cout);
    } catch (const globaldefs::ProcessingFailureException& failure) {
        std::cerr << "session_bench: the product refuses: " << failure.errorReason.in() << '\n';
        return kFailed;
    } catch (const CORBA::Exception& failure) {
        std::cerr << "session_bench: " << kelp::orb::exceptionText(failure) << '\n';
        return kFailed;
    } catch (const std::exception& failure) {
        std::cerr << "session_bench: " << failure.what() << '\n';
        return kFailed;
    }
    return 0;
}
