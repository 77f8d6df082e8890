#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "alarms/alarm_options.h"
#include "pace.h"

namespace kelp::ctl {

namespace {

using admin::Json;

/// Maximum alarms in one request, far below the host's limit for a request.
constexpr std::uint64_t kBatchMax = 500;
constexpr int kElements = 100;
constexpr std::uint64_t kCountMax = 100'000'000;
constexpr double kRateMin = 0.001;
constexpr double kRateMax = 1'000'000;

constexpr const char* kFooter =
    R"(The alarms are raised on the invented elements storm-1 to storm-100, each with a different qualifier.
Ctrl-C ends the storm and shows how many alarms were raised.

Example:
  kelpctl storm --rate 200 --count 5000)";

/// Blocks SIGINT and SIGTERM, so that the program can poll for them instead of being ended by them.
class HeldSignals {
  public:
    HeldSignals() {
        ::sigemptyset(&held_);
        ::sigaddset(&held_, SIGINT);
        ::sigaddset(&held_, SIGTERM);
        ::pthread_sigmask(SIG_BLOCK, &held_, &before_);
    }
    ~HeldSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Wait. Returns true when a signal came before the time was over.
    bool cameWithin(Pace::Duration time) const {
        const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(
            std::max(time, Pace::Duration::zero()));
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const timespec limit{seconds.count(), static_cast<long>((left - seconds).count())};
        return ::sigtimedwait(&held_, nullptr, &limit) > 0;
    }

  private:
    sigset_t held_{};
    sigset_t before_{};
};

struct StormOptions {
    explicit StormOptions(const GlobalOptions& global) : alarms(global) {}

    AlarmOptions alarms;
    double rate = 0;
    std::uint64_t count = 0;
    std::uint64_t first = 1;  ///< number of the first alarm
    std::string severity = "PS_MINOR";
};

class Storm {
  public:
    explicit Storm(const StormOptions& options)
        : options_(options),
          client_(options.alarms.client()),
          object_(options.alarms.objectName()) {}

    void run() {
        const HeldSignals signals;
        const Pace pace(options_.rate, options_.count);
        for (;;) {
            const Pace::Duration since = elapsed();
            if (const std::uint64_t due = pace.due(since); due > taken_)
                send(std::min(due - taken_, kBatchMax));
            if (taken_ >= options_.count)
                return tell("");
            if (signals.cameWithin(pace.next(taken_, since) - elapsed()))
                return tell(", interrupted");
        }
    }

  private:
    Pace::Duration elapsed() const { return std::chrono::steady_clock::now() - begin_; }

    Json alarm(std::uint64_t number) const {
        Json name = object_;
        name.push_back({{"name", "ManagedElement"},
                        {"value", "storm-" + std::to_string((number - 1) % kElements + 1)}});
        const std::string text =
            std::to_string(number) + " of " + std::to_string(options_.first - 1 + options_.count);
        return {{"objectName", name},
                {"probableCause", "UNIDENTIFIED"},
                {"probableCauseQualifier", std::to_string(number)},
                {"nativeProbableCause", "storm"},
                {"perceivedSeverity", options_.severity},
                {"serviceAffecting", "SA_NON_SERVICE_AFFECTING"},
                {"additionalText", "alarm " + text + " of a storm"}};
    }
    void send(std::uint64_t count) {
        Json batch = Json::array();
        for (std::uint64_t i = 1; i <= count; ++i)
            batch.push_back(alarm(options_.first - 1 + taken_ + i));
        try {
            taken_ += client_.post("/alarms", batch).value("taken", std::uint64_t{0});
        } catch (const std::exception& failure) {
            throw std::runtime_error(failure.what() + (" (" + soFar() + ")"));
        }
    }
    std::string soFar() const {
        return std::to_string(taken_) + " of " + std::to_string(options_.count) +
               " alarms accepted";
    }
    void tell(const char* end) const {
        const double seconds = elapsed().count();
        std::printf("%s, %.1f s, %.0f a second%s\n", soFar().c_str(), seconds,
                    static_cast<double>(taken_) / std::max(seconds, 0.001), end);
    }

    const StormOptions& options_;
    const AdminClient client_;
    const Json object_;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::uint64_t taken_ = 0;
};

}  // namespace

void addStormCommand(CLI::App& app, const GlobalOptions& globalOptions) {
    const auto options = std::make_shared<StormOptions>(globalOptions);
    CLI::App* storm = app.add_subcommand(
        "storm", "Raise many alarms at an even rate, to test how NMSs handle them");
    storm->fallthrough()->footer(kFooter);
    options->alarms.addSocket(*storm);
    storm->add_option("--rate", options->rate, "Alarms per second")
        ->required()
        ->check(CLI::Range(kRateMin, kRateMax));
    storm->add_option("--count", options->count, "Total number of alarms")
        ->required()
        ->check(CLI::Range(std::uint64_t{1}, kCountMax));
    storm
        ->add_option("--first", options->first,
                     "Number of the first alarm (1). An alarm whose number is still active from an "
                     "earlier storm is counted, not sent")
        ->check(CLI::Range(std::uint64_t{1}, kCountMax));
    addSeverityOption(
        *storm, [options](const std::string& severity) { options->severity = severity; },
        "Severity of the alarms (minor)");
    storm->callback([options] { Storm(*options).run(); });
}

}  // namespace kelp::ctl
