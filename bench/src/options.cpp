#include "options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace kelp::bench {

namespace {

constexpr const char* kFooter =
    R"(It starts the servers it measures itself, on free ports, with data in a temporary folder.

Examples:
  session_bench
  session_bench --json > result.json
  session_bench --only calls --release-strategy 2 --sessions 1000
  session_bench --quick)";

bool contains(const std::vector<std::string>& words, const std::string& word) {
    return words.empty() || std::find(words.begin(), words.end(), word) != words.end();
}

}  // namespace

std::optional<Options> parseOptions(int argc, char** argv, int& exitCode) {
    Options options;
    std::vector<std::string> only;
    bool quick = false;
    auto sliceMs = static_cast<std::size_t>(options.slice.count());
    CLI::App app{
        "Measures what sessions cost: calls against the bare ORB's, log-ins, memory, password "
        "hashes.",
        "session_bench"};
    app.footer(kFooter);
    const CLI::Range positive(1, 1000000);
    app.add_flag("--json", options.json, "The result as JSON");
    app.add_option(
           "--only", only,
           "Measure these only: calls, log-ins, memory, hashing, guesses, records, operator")
        ->check(CLI::IsMember(
            {"calls", "log-ins", "memory", "hashing", "guesses", "records", "operator"}));
    app.add_flag("--quick", quick, "Few rounds, to see that it runs; the figures are rough");
    app.add_option("--rounds", options.rounds, "Rounds of calls, one slice a server each")
        ->check(positive)
        ->capture_default_str();
    app.add_option("--slice-ms", sliceMs,
                   "How long one server is called before the next one, in ms")
        ->check(positive)
        ->capture_default_str();
    app.add_option("--sessions", options.callSessions,
                   "Sessions at the product while calls are measured")
        ->check(CLI::Range(16, 20000))
        ->capture_default_str();
    app.add_option("--release-strategy", options.releaseStrategy,
                   "Release strategy of the product while calls are measured")
        ->check(CLI::Range(0, 2))
        ->capture_default_str();
    app.add_option("--log-in-rounds", options.logInRounds, "Rounds of log-ins")
        ->check(positive)
        ->capture_default_str();
    app.add_option("--pairs", options.pairs, "Log-ins with their log-outs in one burst")
        ->check(positive)
        ->capture_default_str();
    app.add_option("--live", options.manySessions, "What many live sessions are")
        ->check(CLI::Range(20, 20000))
        ->capture_default_str();
    app.add_option("--guess-rounds", options.guessRounds,
                   "Rounds of log-ins beside wrong passwords")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    app.add_option("--wrong-passwords", options.wrongPasswords,
                   "Wrong passwords in a row, in one round")
        ->check(positive)
        ->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& end) {
        exitCode = app.exit(end);
        return std::nullopt;
    }
    options.calls = contains(only, "calls");
    options.logIns = contains(only, "log-ins");
    options.memory = contains(only, "memory");
    options.hashing = contains(only, "hashing");
    options.guesses = contains(only, "guesses");
    options.records = contains(only, "records");
    options.operatorViews = contains(only, "operator");
    options.slice = std::chrono::milliseconds(sliceMs);
    if (quick) {
        options.rounds = std::min<std::size_t>(options.rounds, 4);
        options.logInRounds = std::min<std::size_t>(options.logInRounds, 3);
        options.guessRounds = std::min<std::size_t>(options.guessRounds, 2);
    }
    return options;
}

}  // namespace kelp::bench
