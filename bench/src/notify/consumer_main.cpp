// A consumer in a separate process. It prints its reference, counts the events that it receives,
// and answers orders on standard input:
//
//     reset    forget the events received so far; answers "ok"
//     report   answers "<events> <in order: 0 or 1> <p50 ns> <p99 ns>"

#include <cos/CosNotifyComm.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/orb.h>

#include <algorithm>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bench_alarm.h"

namespace {

using namespace kelp::bench;

class Tally {
  public:
    void count(const CosNotification::StructuredEvent& event) {
        const Clock::time_point now = Clock::now();
        const Stamp stamp = stampOf(event);
        const std::lock_guard guard(mutex_);
        if (last_ != 0 && stamp.number != last_ + 1)
            inOrder_ = false;
        last_ = stamp.number;
        delays_.push_back(std::chrono::nanoseconds(now - stamp.sent).count());
    }
    void reset() {
        const std::lock_guard guard(mutex_);
        delays_.clear();
        last_ = 0;
        inOrder_ = true;
    }
    std::string report() {
        const std::lock_guard guard(mutex_);
        std::sort(delays_.begin(), delays_.end());
        return std::to_string(delays_.size()) + ' ' + (inOrder_ ? "1" : "0") + ' ' + quantile(50) +
               ' ' + quantile(99);
    }

  private:
    std::string quantile(std::size_t percent) const {
        if (delays_.empty())
            return "0";
        return std::to_string(
            delays_[std::min(delays_.size() - 1, delays_.size() * percent / 100)]);
    }

    std::mutex mutex_;
    std::vector<std::int64_t> delays_;
    std::uint64_t last_ = 0;
    bool inOrder_ = true;
};

class Single final : public POA_CosNotifyComm::StructuredPushConsumer {
  public:
    Single(Tally& tally, std::chrono::milliseconds pause) : tally_(tally), pause_(pause) {}
    void push_structured_event(const CosNotification::StructuredEvent& event) override {
        tally_.count(event);
        if (pause_.count() > 0)
            std::this_thread::sleep_for(pause_);
    }
    void disconnect_structured_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

  private:
    Tally& tally_;
    const std::chrono::milliseconds pause_;
};

class Batches final : public POA_CosNotifyComm::SequencePushConsumer {
  public:
    explicit Batches(Tally& tally) : tally_(tally) {}
    void push_structured_events(const CosNotification::EventBatch& events) override {
        for (CORBA::ULong i = 0; i < events.length(); ++i)
            tally_.count(events[i]);
    }
    void disconnect_sequence_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

  private:
    Tally& tally_;
};

void serve(bool batches, std::chrono::milliseconds pause) {
    kelp::orb::OrbOptions options;
    options.listen = {"127.0.0.1:0"};
    const CORBA::ORB_var orb = kelp::orb::start(options, nullptr);
    const CORBA::Object_var rootObject = orb->resolve_initial_references("RootPOA");
    const PortableServer::POA_var root = PortableServer::POA::_narrow(rootObject.in());
    Tally tally;
    Single single(tally, pause);
    Batches sequence(tally);
    PortableServer::Servant servant = &single;
    if (batches)
        servant = &sequence;
    const PortableServer::ObjectId_var id = root->activate_object(servant);
    const CORBA::Object_var object = root->id_to_reference(id.in());
    const CORBA::String_var text = orb->object_to_string(object.in());
    const PortableServer::POAManager_var manager = root->the_POAManager();
    kelp::orb::letCallersThrough(manager.in());
    std::cout << text.in() << std::endl;
    for (std::string command; std::getline(std::cin, command);) {
        if (command == "report") {
            std::cout << tally.report() << std::endl;
        } else {
            tally.reset();
            std::cout << "ok" << std::endl;
        }
    }
    orb->destroy();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: notify_bench_consumer structured|sequence PAUSE_MS\n";
        return 2;
    }
    try {
        serve(std::string(argv[1]) == "sequence", std::chrono::milliseconds(std::stol(argv[2])));
    } catch (const CORBA::Exception& failure) {
        std::cerr << "notify_bench_consumer: " << kelp::orb::exceptionText(failure) << '\n';
        return 1;
    }
    return 0;
}
