#include <fmt/format.h>
#include <mtnm/notifications.h>

#include <chrono>
#include <iostream>
#include <stdexcept>

#include "alarms/alarm_poster.h"
#include "alarms/measurements.h"
#include "common/ems.h"

namespace kelp::bench {

namespace {

using Clock = std::chrono::steady_clock;
constexpr double kRestartSecondsMax = 5;

/// The number of active alarms that the EMS shows to an NMS.
std::size_t activeAt(emsSession::EmsSession_I_ptr session) {
    const emsMgr::EMSMgr_I_var manager = emsManagerOf(session);
    notifications::EventList_T_var first;
    notifications::EventIterator_I_var rest;
    manager->getAllEMSAndMEActiveAlarms({}, {}, 1, first.out(), rest.out());
    if (CORBA::is_nil(rest.in()))
        return first->length();
    const std::size_t active = first->length() + rest->getLength();
    rest->destroy();
    return active;
}

}  // namespace

std::vector<Figure> measureRestart(nms::NmsClient& client, const AlarmOptions& options) {
    std::cerr << "  restart\n";
    Product product({});
    { const Ems ems(client, product); }
    const auto begin = Clock::now();
    fillList(product.adminSocket(), options.active);
    const std::chrono::duration<double> filled = Clock::now() - begin;
    std::vector<double> seconds;
    for (std::size_t i = 0; i < options.restarts; ++i) {
        product.kill();
        const auto start = Clock::now();
        product.start();
        const Ems ems(client, product);
        const NmsFarm farm(1);
        const emsSession::EmsSession_I_var session = ems.logIn(farm.address(0));
        seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
        const std::size_t active = activeAt(session.in());
        session->endSession();
        if (active != options.active)
            throw std::runtime_error(fmt::format(
                "a log-in was served while the list had {} of {} alarms", active, options.active));
    }
    Figure restart;
    restart.name = fmt::format("log-in after kill -9 with {} active alarms", options.active);
    restart.unit = "s";
    restart.value = medianOf(seconds);
    restart.aim = Aim{Aim::Of::Value, Aim::Bound::AtMost, kRestartSecondsMax};
    restart.note =
        fmt::format("median of {} starts, the list was complete each time", options.restarts);
    Figure fill;
    fill.name = "  raising them, 1,000 a post, one post at a time";
    fill.unit = "alarms/s";
    fill.value = static_cast<double>(options.active) / filled.count();
    return {restart, fill};
}

}  // namespace kelp::bench
