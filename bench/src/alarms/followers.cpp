#include "alarms/followers.h"

#include <kelp/orb/exception_text.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace kelp::bench {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kPatience{20};

std::size_t totalOf(const std::vector<Received>& all) {
    std::size_t sum = 0;
    for (const Received& each : all)
        sum += each.events;
    return sum;
}

}  // namespace

Followers::Followers(const Ems& ems, std::size_t count)
    : farm_(count), sessions_(ems.logInAll(farm_, count)) {
    for (const auto& session : sessions_) {
        CosNotifyChannelAdmin::EventChannel_var channel;
        session->getEventChannel(channel.out());
        const CORBA::String_var reference = ems.orb()->object_to_string(channel.in());
        consumers_.emplace_back(ALARM_BENCH_CONSUMER, std::vector<std::string>{reference.in()});
    }
    for (Talker& each : consumers_) {
        if (each.hear() != "connected")
            throw std::runtime_error("a consumer does not connect");
    }
}

Followers::~Followers() {
    consumers_.clear();
    try {
        for (const auto& session : sessions_)
            session->endSession();
    } catch (const CORBA::Exception& failure) {
        std::cerr << "log-out: " << orb::exceptionText(failure) << '\n';
    }
}

void Followers::reset() {
    for (Talker& each : consumers_)
        each.ask("reset");
}

std::vector<Received> Followers::waitFor(std::size_t events) {
    auto grown = Clock::now();
    std::vector<Received> last = ask();
    for (;;) {
        if (std::all_of(last.begin(), last.end(),
                        [&](const Received& each) { return each.events >= events; }))
            return last;
        if (Clock::now() - grown > kPatience)
            return last;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        std::vector<Received> now = ask();
        if (totalOf(now) > totalOf(last))
            grown = Clock::now();
        last = std::move(now);
    }
}

std::vector<Received> Followers::ask() {
    constexpr double kNsPerMs = 1e6;
    std::vector<Received> all;
    for (Talker& each : consumers_) {
        std::istringstream words(each.ask("report"));
        Received& received = all.emplace_back();
        words >> received.events >> received.outOfOrder >> received.p50Ms >> received.p99Ms;
        received.p50Ms /= kNsPerMs;
        received.p99Ms /= kNsPerMs;
    }
    return all;
}

}  // namespace kelp::bench
