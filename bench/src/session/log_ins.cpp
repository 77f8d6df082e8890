#include "session/log_ins.h"

#include <fmt/format.h>

#include <chrono>
#include <functional>
#include <iostream>
#include <thread>

#include "common/process_usage.h"
#include "session/churn.h"

namespace kelp::bench {

namespace {

constexpr double kMostTimesSlower = 1.3;
/// The product removes ended sessions from its list once a housekeeping round.
constexpr int kRoundS = 1;
constexpr std::chrono::milliseconds kUntilSwept{1500};

/// A product with its live sessions.
struct Site {
    Site(nms::NmsClient& client, const NmsFarm& farm, std::size_t live)
        : product({0, false, kRoundS}),
          ems(client, product),
          sessions(ems.logInAll(farm, live)),
          churn(ems) {}
    ~Site() {
        try {
            for (const emsSession::EmsSession_I_var& session : sessions)
                session->endSession();
        } catch (const CORBA::Exception&) {
            // the product ends its sessions when it stops
        }
    }

    const Product product;
    const Ems ems;
    const std::vector<emsSession::EmsSession_I_var> sessions;
    Churn churn;
    std::vector<double> secondsOfBurst;
    std::chrono::nanoseconds processorTimeBefore{0};
};

void measureBurst(Site& site, std::size_t pairs) {
    const auto begin = std::chrono::steady_clock::now();
    site.churn.logInAndOut(pairs);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    site.secondsOfBurst.push_back(time.count());
}

double processorMicrosecondsAPair(const Site& site, const Options& options) {
    const std::chrono::duration<double, std::micro> used =
        processorTime(site.product.pid()) - site.processorTimeBefore;
    return used.count() / static_cast<double>(options.pairs * options.logInRounds);
}

std::vector<double> timesSlower(const Site& many, const Site& few) {
    std::vector<double> all;
    for (std::size_t i = 0; i < many.secondsOfBurst.size(); ++i)
        all.push_back(many.secondsOfBurst[i] / few.secondsOfBurst[i]);
    return all;
}

}  // namespace

std::vector<Figure> measureLogIns(nms::NmsClient& client, const Options& options) {
    const NmsFarm farm(options.manySessions);
    Site few(client, farm, options.fewSessions);
    Site many(client, farm, options.manySessions);
    std::cerr << fmt::format("log-ins: {} live sessions at {}, {} at {}\n", options.fewSessions,
                             few.product.pid(), options.manySessions, many.product.pid());
    for (Site* site : {&few, &many})
        site->churn.logInAndOut(options.pairs);
    std::this_thread::sleep_for(kUntilSwept);
    for (Site* site : {&few, &many})
        site->processorTimeBefore = processorTime(site->product.pid());

    for (std::size_t round = 0; round < options.logInRounds; ++round) {
        Site& first = round % 2 == 0 ? few : many;
        Site& second = round % 2 == 0 ? many : few;
        measureBurst(first, options.pairs);
        measureBurst(second, options.pairs);
        // the next burst must find only the live sessions
        std::this_thread::sleep_for(kUntilSwept);
    }

    const auto pairs = static_cast<double>(options.pairs);
    const std::string atFew = fmt::format("at {} live", options.fewSessions);
    Figure rate;
    rate.name = fmt::format("log-in and log-out, {} live sessions", options.manySessions);
    rate.unit = "pairs/s";
    rate.value = pairs / medianOf(many.secondsOfBurst);
    rate.references = {{atFew, pairs / medianOf(few.secondsOfBurst)}};
    rate.ratio = spreadOf(timesSlower(many, few));
    rate.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtMost, kMostTimesSlower};
    rate.note = "the ratio is how many times slower";
    Figure processor;
    processor.name = "  server's processor time a pair";
    processor.unit = "us";
    processor.value = processorMicrosecondsAPair(many, options);
    processor.references = {{atFew, processorMicrosecondsAPair(few, options)}};
    return {rate, processor};
}

}  // namespace kelp::bench
