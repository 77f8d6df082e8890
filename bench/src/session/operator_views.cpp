#include "session/operator_views.h"

#include <fmt/format.h>
#include <httplib.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

#include "alarms/alarm_poster.h"
#include "common/ems.h"
#include "common/process_usage.h"

namespace kelp::bench {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr double kSlowestMs = 1000;
constexpr double kLeastScrapedRatio = 0.99;
constexpr std::size_t kQuestions = 20;
constexpr Pace kStorm{.perSecond = 200, .alarmsAPost = 20, .posters = 4, .length = {}};
/// A scrape a second.
constexpr std::chrono::seconds kSlice{1};

/// Ask the host once. Return the time until the complete answer.
Seconds ask(const Product& product, const std::string& path) {
    httplib::Client host(product.adminSocket().string());
    host.set_address_family(AF_UNIX);
    host.set_read_timeout(60);
    const Clock::time_point begin = Clock::now();
    const httplib::Result answer = host.Get(path);
    const Seconds took = Clock::now() - begin;
    if (!answer || answer->status != 200)
        throw std::runtime_error("the host does not answer GET " + path);
    return took;
}

/// An alarm storm that lasts while the object exists, and at least `length`.
class Storm {
  public:
    Storm(const Product& product, std::chrono::seconds length)
        : thread_([&product, length] {
              Pace pace = kStorm;
              pace.length = length;
              try {
                  postSteadily(product.adminSocket(), pace);
              } catch (const std::exception& failure) {
                  std::cerr << "the storm ended: " << failure.what() << '\n';
              }
          }) {}
    ~Storm() { thread_.join(); }
    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;

  private:
    std::thread thread_;
};

Figure slowestOf(const Product& product, const std::string& path, std::size_t sessions) {
    std::vector<double> times;
    for (std::size_t i = 0; i < kQuestions; ++i) {
        times.push_back(ask(product, path).count() * 1000);
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
    }
    Figure figure;
    figure.name = fmt::format("GET {}, slowest of {}", path, kQuestions);
    figure.unit = "ms";
    figure.value = *std::max_element(times.begin(), times.end());
    figure.references = {{"median", medianOf(times)}};
    figure.aim = Aim{Aim::Of::Value, Aim::Bound::AtMost, kSlowestMs};
    figure.note = fmt::format("{} sessions, {} alarms/s", sessions, kStorm.perSecond);
    return figure;
}

/// Calls per second over one slice, in which the metrics are scraped once if `isScraped`.
double rateOf(emsMgr::EMSMgr_I_ptr manager, const Product& product, bool isScraped) {
    std::thread scraper;
    std::exception_ptr failure;
    if (isScraped)
        scraper = std::thread([&] {
            try {
                ask(product, "/metrics");
            } catch (...) {
                failure = std::current_exception();
            }
        });
    std::size_t calls = 0;
    const Clock::time_point begin = Clock::now();
    Seconds took{0};
    while (took < kSlice) {
        emsMgr::EMS_T_var ems;
        manager->getEMS(ems.out());
        ++calls;
        took = Clock::now() - begin;
    }
    if (scraper.joinable())
        scraper.join();
    if (failure)
        std::rethrow_exception(failure);
    return static_cast<double>(calls) / took.count();
}

std::vector<Figure> costOfScraping(const Product& product, emsMgr::EMSMgr_I_ptr manager,
                                   const Options& options) {
    std::vector<double> with;
    std::vector<double> without;
    std::vector<double> ratios;
    rateOf(manager, product, true);
    for (std::size_t round = 0; round < options.rounds; ++round) {
        const bool isFirst = round % 2 == 0;
        const double first = rateOf(manager, product, isFirst);
        const double second = rateOf(manager, product, !isFirst);
        with.push_back(isFirst ? first : second);
        without.push_back(isFirst ? second : first);
        ratios.push_back(with.back() / without.back());
    }
    Figure rate;
    rate.name = "getEMS with a scrape of /metrics a second";
    rate.unit = "calls/s";
    rate.value = medianOf(with);
    rate.references = {{"without", medianOf(without)}};
    rate.ratio = spreadOf(ratios);
    rate.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtLeast, kLeastScrapedRatio};
    constexpr int kScrapes = 50;
    const auto before = processorTime(product.pid());
    for (int i = 0; i < kScrapes; ++i)
        ask(product, "/metrics");
    const Seconds used = processorTime(product.pid()) - before;
    Figure processor;
    processor.name = "  server's processor time a scrape";
    processor.unit = "ms";
    processor.value = used.count() * 1000 / kScrapes;
    return {rate, processor};
}

}  // namespace

std::vector<Figure> measureOperatorViews(nms::NmsClient& client, const Options& options) {
    std::cerr << "operator's views: " << options.manySessions << " sessions\n";
    const NmsFarm farm(options.manySessions);
    const Product product({0, true, 60});
    const Ems ems(client, product);
    const auto sessions = ems.logInAll(farm, farm.size());
    std::vector<Figure> figures;
    {
        const std::vector<std::string> paths = {"/status", "/sessions", "/metrics"};
        const Storm storm(product, std::chrono::seconds(8 * paths.size()));
        for (const std::string& path : paths)
            figures.push_back(slowestOf(product, path, farm.size()));
    }
    const emsMgr::EMSMgr_I_var manager = emsManagerOf(sessions.front().in());
    for (Figure& each : costOfScraping(product, manager.in(), options))
        figures.push_back(std::move(each));
    for (const emsSession::EmsSession_I_var& session : sessions)
        session->endSession();
    return figures;
}

}  // namespace kelp::bench
