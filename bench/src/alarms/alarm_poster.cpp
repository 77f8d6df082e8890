#include "alarms/alarm_poster.h"

#include <fmt/format.h>
#include <httplib.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>

#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include "alarms/stamp.h"

namespace kelp::bench {

namespace {

using Clock = std::chrono::steady_clock;

/// An alarm is flapping when it is raised more than 5 times in 60 s; each is raised 4 times.
constexpr double kFlapWindowSeconds = 60;
constexpr double kRaisesInWindow = 4;
/// As many alarms as a request of less than 1 MiB may have.
constexpr std::size_t kFillPost = 1000;

std::string requestOf(std::size_t first, std::size_t count, bool isRaise) {
    const std::string stamp = std::string(kStampPrefix) + std::to_string(stampNow());
    std::string body = "[";
    for (std::size_t i = first; i < first + count; ++i)
        body += fmt::format(R"({}{{"objectName":{{"EMS":"Kelp/EMS","ManagedElement":"Bench-{}",)"
                            R"("PTP":"/rack=1/shelf=1/slot=1/port={}"}},"probableCause":"LOS",)"
                            R"("perceivedSeverity":"{}","additionalText":"{}"}})",
                            i == first ? "" : ",", i / 100, i % 100,
                            isRaise ? "PS_MAJOR" : "PS_CLEARED", stamp);
    return body + "]";
}

/// What one poster has posted.
std::size_t postUntil(const AlarmPoster& poster, std::size_t firstObject, std::size_t objects,
                      const Pace& pace, Clock::time_point begin) {
    const std::size_t posts = pace.perSecond * static_cast<std::size_t>(pace.length.count()) /
                              pace.alarmsAPost / pace.posters;
    const auto interval = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(static_cast<double>(pace.alarmsAPost * pace.posters) /
                                      static_cast<double>(pace.perSecond)));
    std::size_t block = 0;
    std::size_t posted = 0;
    for (std::size_t i = 0; i < posts / 2 * 2; ++i) {
        std::this_thread::sleep_until(begin + static_cast<int>(i) * interval);
        const bool isRaise = i % 2 == 0;
        poster.post(firstObject + block * pace.alarmsAPost, pace.alarmsAPost, isRaise);
        posted += pace.alarmsAPost;
        if (!isRaise)
            block = (block + 1) % (objects / pace.alarmsAPost);
    }
    return posted;
}

}  // namespace

void AlarmPoster::post(std::size_t first, std::size_t count, bool isRaise) const {
    httplib::Client client(socket_.string());
    client.set_address_family(AF_UNIX);
    client.set_read_timeout(std::chrono::seconds(30));
    const auto answer =
        client.Post("/alarms", requestOf(first, count, isRaise), "application/json");
    if (!answer)
        throw std::runtime_error("the host cannot be reached: " +
                                 httplib::to_string(answer.error()));
    const auto json = nlohmann::json::parse(answer->body, nullptr, false);
    if (answer->status != 200 || !json.is_object())
        throw std::runtime_error("the host refuses alarms: " + answer->body.substr(0, 500));
    for (const auto& outcome : json.at("outcomes")) {
        if (outcome != (isRaise ? "raised" : "cleared"))
            throw std::runtime_error("an alarm was \"" + outcome.get<std::string>() +
                                     "\" instead of changed");
    }
}

Posted postSteadily(const std::filesystem::path& socket, const Pace& pace) {
    const double raisesInWindow = static_cast<double>(pace.perSecond) / 2 * kFlapWindowSeconds;
    const std::size_t blocks = 1 + static_cast<std::size_t>(raisesInWindow / kRaisesInWindow) /
                                       pace.alarmsAPost / pace.posters;
    const std::size_t objects = blocks * pace.alarmsAPost;
    const AlarmPoster poster(socket);
    const auto begin = Clock::now();
    std::vector<std::future<std::size_t>> all;
    for (std::size_t i = 0; i < pace.posters; ++i)
        all.push_back(std::async(std::launch::async, [&, i] {
            return postUntil(poster, i * objects, objects, pace, begin);
        }));
    Posted posted;
    for (auto& each : all)
        posted.alarms += each.get();
    posted.took = Clock::now() - begin;
    return posted;
}

void fillList(const std::filesystem::path& socket, std::size_t count) {
    const AlarmPoster poster(socket);
    for (std::size_t first = 0; first < count; first += kFillPost)
        poster.post(first, std::min(kFillPost, count - first), true);
}

}  // namespace kelp::bench
