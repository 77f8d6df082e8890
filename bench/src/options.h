#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

namespace kelp::bench {

/// The options of session_bench: what to measure and how often.
struct Options {
    bool calls = true;
    bool logIns = true;
    bool memory = true;
    bool hashing = true;
    bool guesses = true;
    bool records = true;
    bool operatorViews = true;
    bool json = false;

    std::size_t rounds = 40;  ///< rounds of calls; each round has one slice for each server
    std::chrono::milliseconds slice{250};  ///< length of a slice, in which one server is called
    std::size_t callSessions = 16;         ///< sessions at the product while calls are measured
    int releaseStrategy = 0;  ///< release strategy of the product while calls are measured

    std::size_t logInRounds = 20;
    std::size_t pairs = 100;  ///< log-ins, each followed by its log-out, in one burst
    std::size_t fewSessions = 10;
    std::size_t manySessions = 1000;  ///< also used to measure the memory of a session

    std::size_t guessRounds = 3;
    std::size_t wrongPasswords = 10000;  ///< sent in succession in one round
};

/// Parse the command line. Returns none when the program must exit at once; `exitCode` is then set.
std::optional<Options> parseOptions(int argc, char** argv, int& exitCode);

}  // namespace kelp::bench
