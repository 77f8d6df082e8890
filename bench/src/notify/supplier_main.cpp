// A supplier in a separate process. It reads the references of its consumers from standard input,
// one a line:
//
//     good IOR | bad IOR | reconnecting IOR | ready
//
// An outside supplier reads "to IOR" and "gauge IOR" instead, the answers of a channel to
// "outside". Then it reads orders. It answers each with a line when all good consumers have
// received every event:
//
//     flood MS       push as fast as the consumers accept events, for MS milliseconds
//     pace RATE MS   push RATE events a second, for MS milliseconds
//
// The answer is "<events> <ns it took> <ns of processor time>".
//
//     outside        a channel answers with the references for one more supplier: "<IOR> <IOR>"

#include <kelp/orb/exception_text.h>
#include <kelp/orb/orb.h>
#include <sys/resource.h>

#include <iostream>
#include <sstream>
#include <thread>

#include "bench_alarm.h"
#include "supplier.h"

namespace {

using namespace kelp::bench;
using namespace std::chrono_literals;
using Milliseconds = std::chrono::milliseconds;

std::chrono::nanoseconds processorTimeOfThis() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto spent = [](const timeval& time) {
        return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
    };
    return spent(usage.ru_utime) + spent(usage.ru_stime);
}

/// Short for the events that wait, but long enough not to show in the processor time.
constexpr Milliseconds kPause{2};

class Work {
  public:
    explicit Work(Supplier& supplier) : supplier_(supplier) {}

    std::uint64_t flood(Milliseconds length) {
        constexpr std::uint64_t kBetweenLooks = 64;
        const Clock::time_point end = Clock::now() + length;
        std::uint64_t events = 0;
        while (Clock::now() < end) {
            for (std::uint64_t i = 0; i < kBetweenLooks; ++i, ++events)
                push();
            while (supplier_.waiting() > kMostWaiting)
                std::this_thread::sleep_for(kPause);
        }
        return events;
    }
    std::uint64_t pace(std::uint64_t rate, Milliseconds length) {
        const Clock::time_point begin = Clock::now();
        const std::uint64_t events = rate * static_cast<std::uint64_t>(length.count()) / 1000;
        for (std::uint64_t i = 0; i < events; ++i) {
            std::this_thread::sleep_until(begin + i * 1'000'000'000ns / rate);
            push();
        }
        return events;
    }
    void drain() {
        while (supplier_.waiting() > 0)
            std::this_thread::sleep_for(kPause);
    }

  private:
    void push() { supplier_.push(alarm_.numbered(++number_)); }

    Supplier& supplier_;
    BenchAlarm alarm_;
    std::uint64_t number_ = 0;
};

struct Consumers {
    std::vector<std::string> good;
    std::vector<std::string> bad;
    std::string reconnecting;
    Outside channel;
};

Consumers readConsumers() {
    Consumers consumers;
    std::string word;
    while (std::cin >> word && word != "ready") {
        std::string reference;
        std::cin >> reference;
        if (word == "good")
            consumers.good.push_back(reference);
        else if (word == "bad")
            consumers.bad.push_back(reference);
        else if (word == "to")
            consumers.channel.consumer = reference;
        else if (word == "gauge")
            consumers.channel.gauge = reference;
        else
            consumers.reconnecting = reference;
    }
    return consumers;
}

std::unique_ptr<Supplier> makeSupplier(CORBA::ORB_ptr orb, const std::string& how, Kind kind,
                                       const Consumers& consumers) {
    if (how == "straight")
        return straightSupplier(orb, consumers.good);
    if (how == "outside")
        return outsideSupplier(orb, consumers.channel);
    return channelSupplier(orb, kind, consumers.good, consumers.bad, consumers.reconnecting);
}

/// Carry out an order to push events, and print the answer.
void supply(Work& work, const std::string& order) {
    std::uint64_t rate = 0;
    if (order == "pace")
        std::cin >> rate;
    Milliseconds::rep length = 0;
    std::cin >> length;
    const std::chrono::nanoseconds processor = processorTimeOfThis();
    const Clock::time_point begin = Clock::now();
    const std::uint64_t events =
        rate > 0 ? work.pace(rate, Milliseconds(length)) : work.flood(Milliseconds(length));
    work.drain();
    const std::chrono::nanoseconds took = Clock::now() - begin;
    std::cout << events << ' ' << took.count() << ' ' << (processorTimeOfThis() - processor).count()
              << std::endl;
}

void serve(const std::string& how, Kind kind) {
    kelp::orb::OrbOptions options;
    options.listen = {"127.0.0.1:0"};
    const CORBA::ORB_var orb = kelp::orb::start(options, nullptr);
    const CORBA::Object_var rootObject = orb->resolve_initial_references("RootPOA");
    const PortableServer::POA_var root = PortableServer::POA::_narrow(rootObject.in());
    const PortableServer::POAManager_var manager = root->the_POAManager();
    kelp::orb::letCallersThrough(manager.in());
    {
        const Consumers consumers = readConsumers();
        const std::unique_ptr<Supplier> supplier = makeSupplier(orb.in(), how, kind, consumers);
        std::cout << "ready" << std::endl;
        Work work(*supplier);
        for (std::string order; std::cin >> order;) {
            if (order == "outside") {
                const Outside references = supplier->outside();
                std::cout << references.consumer << ' ' << references.gauge << std::endl;
            } else {
                supply(work, order);
            }
        }
    }
    orb->destroy();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: notify_bench_supplier channel|straight|outside structured|sequence\n";
        return 2;
    }
    try {
        serve(argv[1], std::string(argv[2]) == "sequence" ? Kind::Sequence : Kind::Structured);
    } catch (const CORBA::Exception& failure) {
        std::cerr << "notify_bench_supplier: " << kelp::orb::exceptionText(failure) << '\n';
        return 1;
    }
    return 0;
}
