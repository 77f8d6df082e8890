#include <fmt/format.h>
#include <kelp/orb/references.h>

#include <chrono>
#include <iostream>
#include <stdexcept>
#include <vector>

#include "alarms/alarm_poster.h"
#include "alarms/measurements.h"
#include "common/ems.h"
#include "notify/talker.h"

namespace kelp::bench {

namespace {

using Clock = std::chrono::steady_clock;
constexpr CORBA::ULong kBatch = 1000;
constexpr double kLeastRatio = 0.70;

struct ListRead {
    std::vector<CORBA::ULong> batches;  ///< the number of events in each
    std::size_t events = 0;
    double seconds = 0;
    double perSecond() const { return static_cast<double>(events) / seconds; }
};

/// Read the whole list. `asks` has the sizes of the batches to request; empty: always kBatch.
ListRead readList(emsMgr::EMSMgr_I_ptr manager, const std::vector<CORBA::ULong>& asks = {}) {
    ListRead read;
    const auto add = [&](const notifications::EventList_T& some) {
        read.batches.push_back(some.length());
        read.events += some.length();
    };
    const auto ask = [&] { return asks.empty() ? kBatch : asks.at(read.batches.size()); };
    const auto begin = Clock::now();
    notifications::EventList_T_var first;
    notifications::EventIterator_I_var rest;
    manager->getAllEMSAndMEActiveAlarms({}, {}, ask(), first.out(), rest.out());
    add(first.in());
    for (bool isMore = !CORBA::is_nil(rest.in()); isMore;) {
        notifications::EventList_T_var some;
        isMore = rest->next_n(ask(), some.out());
        add(some.in());
    }
    read.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    return read;
}

Figure figureOf(const std::vector<double>& product, const std::vector<double>& floor,
                const ListRead& last) {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < product.size(); ++i)
        ratios.push_back(product[i] / floor[i]);
    Figure figure;
    figure.name = fmt::format("reading {} active alarms", last.events);
    figure.unit = "alarms/s";
    figure.value = medianOf(product);
    figure.references = {{"bare servant", medianOf(floor)}};
    figure.ratio = spreadOf(ratios);
    figure.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtLeast, kLeastRatio};
    figure.note = fmt::format("{} requested at a time, the first answer had {}", kBatch,
                              last.batches.front());
    return figure;
}

}  // namespace

std::vector<Figure> measureList(nms::NmsClient& client, const AlarmOptions& options) {
    std::cerr << "  list\n";
    const Product product({});
    const Ems ems(client, product);
    fillList(product.adminSocket(), options.active);
    const NmsFarm farm(1);
    const emsSession::EmsSession_I_var session = ems.logIn(farm.address(0));
    const emsMgr::EMSMgr_I_var manager = emsManagerOf(session.in());
    const CORBA::String_var reference = ems.orb()->object_to_string(manager.in());
    Talker floorProcess(ALARM_BENCH_FLOOR, {reference.in()});
    const CORBA::Object_var object = orb::toReference(ems.orb(), floorProcess.hear());
    const emsMgr::EMSMgr_I_var floor = emsMgr::EMSMgr_I::_unchecked_narrow(object.in());
    std::vector<double> productRates;
    std::vector<double> floorRates;
    ListRead last;
    for (std::size_t round = 0; round < options.listRounds; ++round) {
        last = readList(manager.in());
        // the same batches, so that both encode the same answers
        const ListRead atFloor = readList(floor.in(), last.batches);
        if (last.events != options.active || atFloor.batches != last.batches)
            throw std::runtime_error("the product and the floor do not give the whole list alike");
        productRates.push_back(last.perSecond());
        floorRates.push_back(atFloor.perSecond());
    }
    session->endSession();
    return {figureOf(productRates, floorRates, last)};
}

}  // namespace kelp::bench
