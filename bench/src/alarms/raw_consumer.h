#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "alarms/event_tally.h"
#include "support/tcp_peers.h"

namespace kelp::bench {

/// A consumer of batches without an ORB. It counts the events in the octets of each push, then
/// answers. An event costs it a fraction of what decoding one costs, so that ten consumers leave
/// the processors of the machine to the product. It serves one connection at a time, and closes one
/// with anything that it does not understand, which it reports on standard error; the events of
/// that push are then missing.
class RawConsumer {
  public:
    explicit RawConsumer(EventTally& tally);
    ~RawConsumer();
    RawConsumer(const RawConsumer&) = delete;
    RawConsumer& operator=(const RawConsumer&) = delete;

    /// The stringified reference of its SequencePushConsumer.
    const std::string& reference() const { return reference_; }

  private:
    void run();
    void serve(int connection);
    void count(const std::string& request);

    EventTally& tally_;
    const test::Socket listener_;
    const std::string reference_;
    std::atomic<bool> isEnding_{false};
    std::thread thread_;
};

}  // namespace kelp::bench
