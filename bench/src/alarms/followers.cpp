#include "alarms/followers.h"

#include <kelp/orb/exception_text.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "common/process_usage.h"

namespace kelp::bench {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kPatience{20};
constexpr std::chrono::seconds kRepeatsWithin{1};

std::size_t totalOf(const std::vector<Received>& all) {
    std::size_t sum = 0;
    for (const Received& each : all)
        sum += each.events;
    return sum;
}

}  // namespace

Followers::Followers(const Ems& ems, std::size_t count, Reads reads)
    : farm_(count), sessions_(ems.logInAll(farm_, count)) {
    for (const auto& session : sessions_) {
        CosNotifyChannelAdmin::EventChannel_var channel;
        session->getEventChannel(channel.out());
        const CORBA::String_var reference = ems.orb()->object_to_string(channel.in());
        consumers_.emplace_back(
            ALARM_BENCH_CONSUMER,
            std::vector<std::string>{reads == Reads::Raw ? "raw" : "decoding", reference.in()});
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

void Followers::waitFor(std::size_t events) {
    auto grown = Clock::now();
    for (std::size_t last = 0; Clock::now() - grown < kPatience;) {
        const std::vector<Received> all = ask();
        if (std::all_of(all.begin(), all.end(),
                        [&](const Received& each) { return each.events >= events; }))
            return;
        if (totalOf(all) > last)
            grown = Clock::now();
        last = totalOf(all);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

std::vector<Received> Followers::received() {
    std::this_thread::sleep_for(kRepeatsWithin);
    return ask();
}

std::chrono::nanoseconds Followers::processorTime() {
    std::chrono::nanoseconds sum{0};
    for (Talker& each : consumers_)
        sum += bench::processorTime(each.process().pid());
    return sum;
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
