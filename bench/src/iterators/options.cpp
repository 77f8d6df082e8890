#include "options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>

namespace kelp::bench {

namespace {

constexpr const char* kFooter =
    R"(It makes the networks up and starts the servers that it measures itself, on free ports, with data in a
temporary folder. The exit code is 0 when every aim is met, 2 when one is missed, 1 when something failed.

Examples:
  iterator_bench
  iterator_bench --quick
  iterator_bench --json > result.json
  iterator_bench --only ports --batch 1000)";

bool contains(const std::vector<std::string>& words, const std::string& word) {
    return words.empty() || std::find(words.begin(), words.end(), word) != words.end();
}

/// Reduce everything to a tenth.
void makeQuick(UploadOptions& options) {
    constexpr std::size_t part = 10;
    options.elementCount = std::max<std::size_t>(options.elementCount / part, 1);
    options.portCount /= part;
    options.longLists = std::max<std::size_t>(options.longLists / part, 2);
    options.rounds = std::min<std::size_t>(options.rounds, 4);
    options.endsBatch /= part;
    options.shareOfOnes /= part;
    options.shortListsKept /= part;
}

}  // namespace

std::optional<UploadOptions> parseUploadOptions(int argc, char** argv, int& exitCode) {
    UploadOptions options;
    std::vector<std::string> only;
    bool quick = false;
    CLI::App app{
        "Measures what an upload through iterators costs, beside the same lists out of memory.",
        "iterator_bench"};
    app.footer(kFooter);
    const CLI::Range positive(1, 100000000);
    app.add_flag("--json", options.json, "The result as JSON");
    app.add_flag("--quick", quick, "A tenth of the network, few rounds; the figures are rough");
    app.add_option("--only", only, "Measure these only: elements, ports, short-lists")
        ->check(CLI::IsMember({"elements", "ports", "short-lists"}));
    app.add_option("--elements", options.elementCount, "Managed elements")
        ->check(positive)
        ->capture_default_str();
    app.add_option("--ports", options.portCount, "Ports of all elements together")
        ->check(positive)
        ->capture_default_str();
    app.add_option("--long-lists", options.longLists,
                   "Elements that have all the ports, for long lists")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--batch", options.batches, "Entries asked for at a time")
        ->check(positive)
        ->capture_default_str();
    app.add_option("--rounds", options.rounds, "Rounds, one list at each server")
        ->check(CLI::Range(2, 1000))
        ->capture_default_str();
    app.add_option("--networks", options.networks,
                   "A folder to keep the networks in and take them from");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& end) {
        exitCode = app.exit(end);
        return std::nullopt;
    }
    options.elements = contains(only, "elements");
    options.ports = contains(only, "ports");
    options.shortLists = contains(only, "short-lists");
    if (quick)
        makeQuick(options);
    return options;
}

}  // namespace kelp::bench
