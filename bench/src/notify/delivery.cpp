#include "delivery.h"

#include <fmt/format.h>

#include <csignal>
#include <iostream>
#include <list>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "common/process_usage.h"
#include "supplier.h"
#include "talker.h"

namespace kelp::bench {

namespace {

const char* nameOf(Kind kind) {
    return kind == Kind::Structured ? "structured" : "sequence";
}

struct Heard {
    std::size_t events = 0;
    bool inOrder = false;
    double p50Us = 0;
    double p99Us = 0;
};

/// A consumer in a separate process.
class Consumer {
  public:
    explicit Consumer(Kind kind, std::size_t pauseMs = 0)
        : talker_(NOTIFY_BENCH_CONSUMER, {nameOf(kind), std::to_string(pauseMs)}),
          reference_(talker_.hear()) {}

    const std::string& reference() const { return reference_; }
    test::ChildProcess& process() { return talker_.process(); }
    void reset() { talker_.ask("reset"); }
    Heard report() {
        Heard heard;
        std::istringstream(talker_.ask("report")) >> heard.events >> heard.inOrder >> heard.p50Us >>
            heard.p99Us;
        heard.p50Us /= 1000;
        heard.p99Us /= 1000;
        return heard;
    }

  private:
    Talker talker_;
    std::string reference_;
};
using Consumers = std::list<Consumer>;

Consumers makeConsumers(Kind kind, std::size_t count) {
    Consumers made;
    for (std::size_t i = 0; i < count; ++i)
        made.emplace_back(kind);
    return made;
}

/// The result of one slice.
struct Slice {
    double events = 0;
    double seconds = 0;
    double processorSeconds = 0;
};

Slice readSlice(const std::string& answer) {
    Slice slice;
    std::istringstream(answer) >> slice.events >> slice.seconds >> slice.processorSeconds;
    slice.seconds /= 1e9;
    slice.processorSeconds /= 1e9;
    return slice;
}

std::string floodOrder(std::chrono::milliseconds length) {
    return fmt::format("flood {}", length.count());
}

/// A supplier in a separate process, connected to the consumers.
class Source {
  public:
    Source(const char* how, Kind kind, Consumers& consumers)
        : talker_(NOTIFY_BENCH_SUPPLIER, {how, nameOf(kind)}) {
        for (const Consumer& each : consumers)
            talker_.say("good " + each.reference());
    }
    void addBad(const Consumer& bad) { talker_.say("bad " + bad.reference()); }
    void addReconnecting(const Consumer& bad) { talker_.say("reconnecting " + bad.reference()); }
    void begin() {
        if (talker_.ask("ready") != "ready")
            throw std::runtime_error("a supplier does not begin");
    }
    Slice flood(std::chrono::milliseconds length) {
        return readSlice(talker_.ask(floodOrder(length)));
    }
    Slice pace(std::size_t rate, std::chrono::milliseconds length) {
        return readSlice(talker_.ask(fmt::format("pace {} {}", rate, length.count())));
    }
    /// The references for one more supplier outside the channel's process.
    std::string outside() { return talker_.ask("outside"); }
    pid_t pid() { return talker_.process().pid(); }
    double residentKib() { return bench::residentKib(talker_.process().pid()); }

  private:
    Talker talker_;
};

/// A supplier outside the process of a channel, which has begun already.
class OutsideSource {
  public:
    explicit OutsideSource(Source& channel)
        : channel_(channel), talker_(NOTIFY_BENCH_SUPPLIER, {"outside", "structured"}) {
        std::string consumer;
        std::string gauge;
        std::istringstream(channel.outside()) >> consumer >> gauge;
        talker_.say("to " + consumer);
        talker_.say("gauge " + gauge);
        if (talker_.ask("ready") != "ready")
            throw std::runtime_error("a supplier outside the channel does not begin");
    }
    /// The processor time is that of the channel's process.
    Slice flood(std::chrono::milliseconds length) {
        const std::chrono::nanoseconds before = processorTime(channel_.pid());
        Slice slice = readSlice(talker_.ask(floodOrder(length)));
        slice.processorSeconds =
            std::chrono::duration<double>(processorTime(channel_.pid()) - before).count();
        return slice;
    }

  private:
    Source& channel_;
    Talker talker_;
};

void reset(Consumers& consumers) {
    for (Consumer& each : consumers)
        each.reset();
}

/// Return what the consumers received in one slice. Throws if a consumer did not receive every
/// event in order.
Heard heardBy(Consumers& consumers, const Slice& slice) {
    Heard worst;
    std::vector<double> p50;
    std::vector<double> p99;
    for (Consumer& each : consumers) {
        const Heard heard = each.report();
        if (!heard.inOrder || static_cast<double>(heard.events) != slice.events)
            throw std::runtime_error(fmt::format("a consumer got {} of {} events, {}", heard.events,
                                                 slice.events,
                                                 heard.inOrder ? "in order" : "out of order"));
        p50.push_back(heard.p50Us);
        p99.push_back(heard.p99Us);
    }
    worst.p50Us = medianOf(p50);
    worst.p99Us = medianOf(p99);
    return worst;
}

/// Values of product and floor, measured in turns.
struct Pairs {
    std::vector<double> product;
    std::vector<double> floor;

    Figure figure(std::string name, std::string unit, const char* floorName) const {
        std::vector<double> ratios;
        for (std::size_t i = 0; i < product.size(); ++i)
            ratios.push_back(product[i] / floor[i]);
        Figure made;
        made.name = std::move(name);
        made.unit = std::move(unit);
        made.value = medianOf(product);
        made.references = {{floorName, medianOf(floor)}};
        made.ratio = spreadOf(ratios);
        return made;
    }
};

/// Deliveries and processor time of the channel and of the direct supplier, in turns.
struct FloodSeries {
    Pairs deliveries;
    Pairs processor;
};

/// Aims for the ratios of one number of consumers.
struct FloodAims {
    std::optional<double> deliveries{};
    std::optional<double> processor{};
};

FloodAims insideAims(Kind kind, std::size_t count) {
    FloodAims aims;
    const bool isMany = count == 16 || count == 64;
    if (kind == Kind::Sequence) {
        aims.deliveries = 1.2;
        if (isMany)
            aims.processor = 0.4;
        return aims;
    }
    aims.deliveries = 1.0;
    if (isMany)
        aims.processor = 0.6;
    else if (count == 4)
        aims.processor = 1.0;
    return aims;
}

FloodAims outsideAims(std::size_t count) {
    if (count == 4)
        return {0.75, 1.2};
    if (count == 16 || count == 64)
        return {0.9, 0.8};
    return {};
}

/// Run the slices of a series. `channel` and `straight` have a function flood(length).
template <class Channel>
FloodSeries floodInTurns(Channel& channel, Source& straight, Consumers& consumers,
                         const NotifyOptions& options) {
    FloodSeries series;
    const auto slice = [&](auto& source, std::vector<double>& deliveries,
                           std::vector<double>& processor) {
        reset(consumers);
        const Slice done = source.flood(options.flood);
        heardBy(consumers, done);
        const double made = done.events * static_cast<double>(consumers.size());
        deliveries.push_back(made / done.seconds);
        processor.push_back(done.processorSeconds / made * 1e6);
    };
    for (std::size_t round = 0; round < options.rounds; ++round) {
        const bool channelFirst = round % 2 == 0;
        if (channelFirst)
            slice(channel, series.deliveries.product, series.processor.product);
        slice(straight, series.deliveries.floor, series.processor.floor);
        if (!channelFirst)
            slice(channel, series.deliveries.product, series.processor.product);
    }
    return series;
}

constexpr const char* kStraight = "straight pushes";
constexpr std::chrono::milliseconds kWarmUp{300};

std::vector<Figure> figuresOf(const FloodSeries& series, const std::string& what,
                              const std::string& whose, const FloodAims& aims) {
    Figure deliveries = series.deliveries.figure(what, "deliveries/s", kStraight);
    Figure processor = series.processor.figure(fmt::format("  {} processor time a delivery", whose),
                                               "us", kStraight);
    if (aims.deliveries)
        deliveries.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtLeast, *aims.deliveries};
    if (aims.processor)
        processor.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtMost, *aims.processor};
    return {deliveries, processor};
}

Figure memoryOf(Source& channel, double before, Source& straight, const std::string& whose) {
    Figure memory;
    memory.name = fmt::format("  {} resident memory", whose);
    memory.unit = "KiB";
    memory.value = channel.residentKib();
    memory.references = {{"before the rounds", before}, {kStraight, straight.residentKib()}};
    return memory;
}

std::vector<Figure> floodOf(Kind kind, std::size_t count, const NotifyOptions& options) {
    Consumers consumers = makeConsumers(kind, count);
    Source channel("channel", kind, consumers);
    Source straight("straight", kind, consumers);
    channel.begin();
    straight.begin();
    channel.flood(kWarmUp);
    straight.flood(kWarmUp);
    const double residentBefore = channel.residentKib();
    const FloodSeries series = floodInTurns(channel, straight, consumers, options);
    const std::string what = fmt::format(
        "{}, {} consumers", kind == Kind::Structured ? "single events" : "batches of 50", count);
    std::vector<Figure> figures = figuresOf(series, what, "supplier's", insideAims(kind, count));
    figures.push_back(memoryOf(channel, residentBefore, straight, "supplier's"));
    return figures;
}

std::vector<Figure> floodFromOutside(std::size_t count, const NotifyOptions& options) {
    Consumers consumers = makeConsumers(Kind::Structured, count);
    Source channel("channel", Kind::Structured, consumers);
    Source straight("straight", Kind::Structured, consumers);
    channel.begin();
    straight.begin();
    OutsideSource outside(channel);
    outside.flood(kWarmUp);
    straight.flood(kWarmUp);
    const double residentBefore = channel.residentKib();
    const FloodSeries series = floodInTurns(outside, straight, consumers, options);
    std::vector<Figure> figures =
        figuresOf(series, fmt::format("events from another process, {} consumers", count),
                  "channel's", outsideAims(count));
    figures.push_back(memoryOf(channel, residentBefore, straight, "channel's"));
    return figures;
}

struct DelaySeries {
    Pairs p50;
    Pairs p99;
};

void addDelays(Source& source, Consumers& consumers, const NotifyOptions& options,
               std::vector<double>& p50, std::vector<double>& p99) {
    reset(consumers);
    const Heard heard = heardBy(consumers, source.pace(options.rate, options.paced));
    p50.push_back(heard.p50Us);
    p99.push_back(heard.p99Us);
}

std::vector<Figure> figuresOf(const DelaySeries& series, const std::string& what, const char* floor,
                              double aim) {
    Figure p50 = series.p50.figure(what + ", p50", "us", floor);
    Figure p99 = series.p99.figure(what + ", p99", "us", floor);
    p99.aim = Aim{Aim::Of::Ratio, Aim::Bound::AtMost, aim};
    return {p50, p99};
}

std::vector<Figure> delaysBesideStraight(const NotifyOptions& options) {
    Consumers consumers = makeConsumers(Kind::Structured, options.delayConsumers);
    Source channel("channel", Kind::Structured, consumers);
    Source straight("straight", Kind::Structured, consumers);
    channel.begin();
    straight.begin();
    DelaySeries series;
    for (std::size_t round = 0; round < options.rounds; ++round) {
        addDelays(channel, consumers, options, series.p50.product, series.p99.product);
        addDelays(straight, consumers, options, series.p50.floor, series.p99.floor);
    }
    return figuresOf(
        series,
        fmt::format("delay at {} events/s, {} consumers", options.rate, options.delayConsumers),
        kStraight, 1.0);
}

/// Measure twelve good consumers together with four bad ones: one is frozen, one takes an event a
/// second, one is killed, and one reconnects every second.
std::vector<Figure> delaysBesideBadOnes(const NotifyOptions& options) {
    constexpr std::size_t good = 12;
    Consumers consumers = makeConsumers(Kind::Structured, good);
    Consumer frozen(Kind::Structured);
    Consumer slow(Kind::Structured, 1000);
    Consumer killed(Kind::Structured);
    Consumer restless(Kind::Structured);
    Source alone("channel", Kind::Structured, consumers);
    Source beside("channel", Kind::Structured, consumers);
    beside.addBad(frozen);
    beside.addBad(slow);
    beside.addBad(killed);
    beside.addReconnecting(restless);
    alone.begin();
    beside.begin();
    frozen.process().freeze();
    killed.process().kill();
    DelaySeries series;
    for (std::size_t round = 0; round < options.rounds; ++round) {
        addDelays(beside, consumers, options, series.p50.product, series.p99.product);
        addDelays(alone, consumers, options, series.p50.floor, series.p99.floor);
    }
    return figuresOf(series, fmt::format("delay with 4 bad consumers beside {}", good),
                     "without them", 1.2);
}

}  // namespace

std::vector<Figure> measureFlood(const NotifyOptions& options) {
    std::vector<Figure> figures;
    for (const Kind kind : {Kind::Structured, Kind::Sequence}) {
        for (const std::size_t count : options.consumers) {
            std::cerr << fmt::format("{}, {} consumers\n", nameOf(kind), count);
            for (Figure& each : floodOf(kind, count, options))
                figures.push_back(std::move(each));
        }
    }
    return figures;
}

std::vector<Figure> measureOutside(const NotifyOptions& options) {
    std::vector<Figure> figures;
    for (const std::size_t count : options.consumers) {
        std::cerr << fmt::format("from another process, {} consumers\n", count);
        for (Figure& each : floodFromOutside(count, options))
            figures.push_back(std::move(each));
    }
    return figures;
}

std::vector<Figure> measureDelays(const NotifyOptions& options) {
    std::cerr << "delays\n";
    std::vector<Figure> figures = delaysBesideStraight(options);
    for (Figure& each : delaysBesideBadOnes(options))
        figures.push_back(std::move(each));
    return figures;
}

}  // namespace kelp::bench
