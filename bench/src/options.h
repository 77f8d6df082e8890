#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

namespace kelp::bench {

/// What to measure, how often.
struct Options {
    bool calls = true;
    bool logIns = true;
    bool memory = true;
    bool hashing = true;
    bool guesses = true;
    bool records = true;
    bool json = false;

    std::size_t rounds = 40;               ///< of calls, one slice a server each
    std::chrono::milliseconds slice{250};  ///< how long one server is called before the next one
    std::size_t callSessions = 16;         ///< sessions at the product while calls are measured
    int releaseStrategy = 0;               ///< of the product while calls are measured

    std::size_t logInRounds = 20;
    std::size_t pairs = 100;  ///< log-ins with their log-outs in one burst
    std::size_t fewSessions = 10;
    std::size_t manySessions = 1000;  ///< also for the memory a session takes

    std::size_t guessRounds = 3;
    std::size_t wrongPasswords = 10000;  ///< in a row, in one round
};

/// None when the program is to end at once, with the exit code set.
std::optional<Options> parseOptions(int argc, char** argv, int& exitCode);

}  // namespace kelp::bench
