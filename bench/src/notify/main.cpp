#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <string>

#include "common/process_usage.h"
#include "delivery.h"

namespace {

using namespace kelp::bench;

constexpr const char* kFooter =
    R"(It starts the suppliers and the consumers itself, each in a process of its own, on free ports.

Examples:
  notify_bench
  notify_bench --quick
  notify_bench --only flood --consumers 16
  notify_bench --only outside --consumers 4 16 --rounds 3)";

}  // namespace

int main(int argc, char** argv) {
    NotifyOptions options;
    std::string only;
    bool quick = false;
    CLI::App app{
        "Measures what the notification channel costs, beside a supplier that pushes straight.",
        "notify_bench"};
    app.footer(kFooter);
    app.add_flag("--json", options.json, "The result as JSON");
    app.add_flag("--quick", quick, "Few short rounds, to see that it runs; the figures are rough");
    app.add_option("--only", only, "Measure this only: flood, outside or delays")
        ->check(CLI::IsMember({"flood", "outside", "delays"}));
    app.add_option("--consumers", options.consumers, "Numbers of consumers")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--rounds", options.rounds, "Rounds, one slice a supplier each")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    if (quick) {
        options.rounds = 2;
        options.flood = std::chrono::milliseconds(300);
        options.paced = std::chrono::milliseconds(1000);
    }
    try {
        raiseOpenFilesLimit();
        Report report;
        report.machine = machineInWords();
        report.loadBefore = loadOfMachine();
        const auto isWanted = [&](const char* series) { return only.empty() || only == series; };
        if (isWanted("flood"))
            report.add(measureFlood(options));
        if (isWanted("outside"))
            report.add(measureOutside(options));
        if (isWanted("delays"))
            report.add(measureDelays(options));
        report.loadAfter = loadOfMachine();
        if (options.json)
            printAsJson(report, std::cout);
        else
            printAsTable(report, std::cout);
    } catch (const std::exception& failure) {
        std::cerr << "notify_bench: " << failure.what() << '\n';
        return 1;
    }
    return 0;
}
