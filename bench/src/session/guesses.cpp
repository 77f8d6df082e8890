#include "session/guesses.h"

#include <fmt/format.h>

#include <atomic>
#include <chrono>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

#include "common/giop_message.h"
#include "session/churn.h"
#include "support/tcp_peers.h"

namespace kelp::bench {

namespace {

const std::string kFactoryKey = std::string("\xffV4800\0", 7) + "EMSSessionFactory";
constexpr std::chrono::seconds kAlone{1};
/// Divisor for the number of guesses at the default hash cost. There each guess waits for one of
/// the log-ins, 20 ms and more.
constexpr std::size_t kFewerBesideCostlyHashes = 20;

/// A connection from an address of 127.0.0.0/8 that sends the same request repeatedly, each as soon
/// as the previous one is answered. It uses less processor time than an ORB's client.
class Repeater {
  public:
    Repeater(const Product& product, const std::string& source, std::string request,
             ReplyStatus expected)
        : socket_(test::connectTo(product.port(), source.c_str())),
          request_(std::move(request)),
          expected_(expected) {}

    void call(std::size_t times) {
        for (std::size_t i = 0; i < times; ++i) {
            if (::send(socket_.fd(), request_.data(), request_.size(), MSG_NOSIGNAL) !=
                static_cast<ssize_t>(request_.size()))
                throw std::runtime_error("a request cannot be sent");
            if (statusOf(reply()) != expected_)
                throw std::runtime_error("a request was answered otherwise than it should be");
        }
    }

  private:
    std::string reply() {
        std::string bytes;
        while (messageLength(bytes) == 0 || bytes.size() < messageLength(bytes)) {
            char part[4096];
            const ssize_t length = ::recv(socket_.fd(), part, sizeof part, 0);
            if (length <= 0)
                throw std::runtime_error("a request was not answered");
            bytes.append(part, static_cast<std::size_t>(length));
        }
        return bytes;
    }

    test::Socket socket_;
    const std::string request_;
    const ReplyStatus expected_;
};

/// Makes calls on a separate thread, which starts at once.
class InBackground {
  public:
    InBackground(Repeater repeater, std::size_t times)
        : thread_([this, made = std::move(repeater), times]() mutable {
              try {
                  made.call(times);
              } catch (...) {
                  failure_ = std::current_exception();
              }
              isOver_ = true;
          }) {}
    ~InBackground() {
        if (thread_.joinable())
            thread_.join();
    }
    InBackground(const InBackground&) = delete;
    InBackground& operator=(const InBackground&) = delete;

    bool isOver() const { return isOver_; }
    /// Wait for the calls. Rethrows an exception that ended them early.
    void finish() {
        thread_.join();
        if (failure_)
            std::rethrow_exception(failure_);
    }

  private:
    std::exception_ptr failure_;
    std::atomic<bool> isOver_{false};
    std::thread thread_;
};

struct Slice {
    double logInsPerSecond = 0;
    double callsPerSecond = 0;
};

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

double aloneRate(Churn& churn) {
    const auto begin = Clock::now();
    const std::size_t pairs = churn.logInAndOutWhile([&] { return Clock::now() - begin < kAlone; });
    return static_cast<double>(pairs) / secondsSince(begin);
}

Slice duringChurn(Churn& churn, Repeater repeater, std::size_t times) {
    const auto begin = Clock::now();
    InBackground calls(std::move(repeater), times);
    const std::size_t pairs = churn.logInAndOutWhile([&] { return !calls.isOver(); });
    const double seconds = secondsSince(begin);
    calls.finish();
    return {static_cast<double>(pairs) / seconds, static_cast<double>(times) / seconds};
}

struct Rounds {
    std::vector<double> alone;
    std::vector<double> besideGuesses;
    std::vector<double> besideCalls;
    std::vector<double> guesses;
    std::vector<double> calls;
};

/// Measure the rounds. Each round guesses from an address that is new to the product, so that the
/// address has no failed log-ins yet.
Rounds measureRounds(const Product& product, Churn& churn, const Options& options,
                     std::size_t guesses) {
    const std::string guess =
        requestMessage(kFactoryKey, "getEmsSession",
                       logInArguments(Product::kUser, "a wrong one", "127.0.0.2", 9));
    const std::string harmless = requestMessage(kFactoryKey, "getVersion");
    Rounds rounds;
    churn.logInAndOut(options.pairs);
    for (std::size_t round = 0; round < options.guessRounds; ++round) {
        const std::string source = "127.0.1." + std::to_string(round + 1);
        rounds.alone.push_back(aloneRate(churn));
        const Slice wrong =
            duringChurn(churn, {product, source, guess, ReplyStatus::UserException}, guesses);
        const Slice calls =
            duringChurn(churn, {product, source, harmless, ReplyStatus::NoException}, guesses);
        rounds.besideGuesses.push_back(wrong.logInsPerSecond);
        rounds.guesses.push_back(wrong.callsPerSecond);
        rounds.besideCalls.push_back(calls.logInsPerSecond);
        rounds.calls.push_back(calls.callsPerSecond);
    }
    return rounds;
}

Spread ratios(const std::vector<double>& values, const std::vector<double>& floor) {
    std::vector<double> all;
    for (std::size_t i = 0; i < values.size(); ++i)
        all.push_back(values[i] / floor[i]);
    return spreadOf(all);
}

std::vector<Figure> figuresOf(const Rounds& rounds, const std::string& hash,
                              std::size_t wrongPasswords) {
    Figure alone;
    alone.name =
        fmt::format("log-in and log-out beside {} wrong passwords, {} hash", wrongPasswords, hash);
    alone.unit = "pairs/s";
    alone.value = medianOf(rounds.besideGuesses);
    alone.references = {{"alone", medianOf(rounds.alone)}};
    alone.ratio = ratios(rounds.besideGuesses, rounds.alone);
    Figure calls;
    calls.name = "  the same, beside as many harmless calls";
    calls.unit = "pairs/s";
    calls.value = medianOf(rounds.besideCalls);
    calls.references = alone.references;
    calls.ratio = ratios(rounds.besideCalls, rounds.alone);
    Figure guesses;
    guesses.name = "  wrong passwords answered";
    guesses.unit = "calls/s";
    guesses.value = medianOf(rounds.guesses);
    guesses.references = {{"harmless calls", medianOf(rounds.calls)}};
    return {alone, calls, guesses};
}

}  // namespace

std::vector<Figure> measureGuesses(nms::NmsClient& client, const Options& options) {
    std::vector<Figure> figures;
    for (const bool costly : {false, true}) {
        // a housekeeping round each second removes ended sessions from the list, where they would
        // slow down each log-in
        const Product product({0, false, 1, costly});
        const Ems ems(client, product);
        Churn churn(ems);
        std::cerr << fmt::format("wrong passwords: at {}\n", product.pid());
        const std::size_t guesses =
            options.wrongPasswords / (costly ? kFewerBesideCostlyHashes : 1);
        const Rounds rounds = measureRounds(product, churn, options, guesses);
        const std::vector<Figure> more =
            figuresOf(rounds, costly ? "default" : "smallest", guesses);
        figures.insert(figures.end(), more.begin(), more.end());
    }
    return figures;
}

}  // namespace kelp::bench
