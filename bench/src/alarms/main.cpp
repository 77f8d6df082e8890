// Measures the alarm interface from the intake to the NMS.

#include <CLI/CLI.hpp>
#include <kelp/nms/client.h>
#include <kelp/orb/exception_text.h>
#include <mtnm/globaldefs.h>

#include <algorithm>
#include <exception>
#include <iostream>
#include <string>

#include "alarms/measurements.h"
#include "common/process_usage.h"

namespace {

using namespace kelp::bench;

constexpr int kFailed = 1;
constexpr int kAimMissed = 2;

Report measureAll(const AlarmOptions& options, const std::string& only) {
    Report report;
    report.machine = machineInWords();
    report.loadBefore = loadOfMachine();
    kelp::nms::NmsSettings settings;
    settings.listen = "127.0.0.1:0";
    kelp::nms::NmsClient client(settings);
    if (only.empty() || only == "sustained")
        report.add(measureSustained(client, options));
    if (only.empty() || only == "latency")
        report.add(measureLatency(client, options));
    if (only.empty() || only == "restart")
        report.add(measureRestart(client, options));
    if (only.empty() || only == "list")
        report.add(measureList(client, options));
    report.loadAfter = loadOfMachine();
    return report;
}

}  // namespace

int main(int argc, char** argv) {
    AlarmOptions options;
    std::string only;
    bool quick = false;
    bool decoding = false;
    CLI::App app{"Measures alarms from the intake to the NMS, with durable storage.",
                 "alarm_bench"};
    app.footer("Examples:\n  alarm_bench\n  alarm_bench --quick\n  alarm_bench --only latency");
    app.add_flag("--json", options.json, "The result as JSON");
    app.add_flag("--quick", quick, "A few seconds of each, to see that it runs");
    app.add_option("--only", only, "Measure this only: sustained, latency, restart or list")
        ->check(CLI::IsMember({"sustained", "latency", "restart", "list"}));
    app.add_option("--consumers", options.consumers, "Number of NMS")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--rate", options.rate, "Sustained rate, in alarms a second")
        ->check(CLI::Range(100, 1'000'000))
        ->capture_default_str();
    app.add_option("--alarms-a-post", options.alarmsAPost, "Alarms in a request meanwhile")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_flag("--decoding", decoding, "The NMS decode the events of the sustained rate too");
    CLI11_PARSE(app, argc, argv);
    if (quick) {
        options.sustained = options.latency = std::chrono::seconds(5);
        options.active = 10'000;
        options.restarts = 1;
        options.listRounds = 2;
    }
    if (decoding)
        options.reads = Reads::Decoding;
    try {
        raiseOpenFilesLimit();
        const Report report = measureAll(options, only);
        if (options.json)
            printAsJson(report, std::cout);
        else
            printAsTable(report, std::cout);
        return std::any_of(report.figures.begin(), report.figures.end(),
                           [](const Figure& each) { return each.met() == false; })
                   ? kAimMissed
                   : 0;
    } catch (const globaldefs::ProcessingFailureException& failure) {
        std::cerr << "alarm_bench: the product refuses: " << failure.errorReason.in() << '\n';
    } catch (const CORBA::Exception& failure) {
        std::cerr << "alarm_bench: " << kelp::orb::exceptionText(failure) << '\n';
    } catch (const std::exception& failure) {
        std::cerr << "alarm_bench: " << failure.what() << '\n';
    }
    return kFailed;
}
