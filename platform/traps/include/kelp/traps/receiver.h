#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/traps/decoder.h>
#include <kelp/traps/mapping.h>
#include <kelp/util/export.h>
#include <kelp/util/token_buckets.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kelp::traps {

/// An alarm to be stored.
struct Submission {
    alarms::Alarm alarm;
    /// Idempotency key of an inform. An inform that is sent again has the same one. Empty for a
    /// trap.
    std::string key;
};

/// Stores alarms in order, and returns for each whether it is durable. Called by one thread, may
/// take long, and may throw, which means that none is durable.
using Submit = std::function<std::vector<bool>(const std::vector<Submission>&)>;

struct KELP_EXPORT ReceiverSettings {
    std::vector<std::string> listen;   ///< "address:port" or "[address]:port"; port 0 is a free one
    std::vector<std::string> sources;  ///< networks whose hosts may send
    std::string ems;                   ///< the EMS's name, for the objects' names
    Engine engine;
    std::vector<Community> communities;
    std::vector<User> users;
    Mapping mapping;
    /// Maximum number of traps that wait to be stored. Further ones are dropped.
    std::size_t queueMax = 10000;
    util::TokenBuckets::Limits perSource{200, 1000};     ///< messages of one source
    util::TokenBuckets::Limits unknownPerSource{1, 60};  ///< unknown traps of one source
};

/// Receives traps and informs, and submits the alarms that they stand for. An inform is
/// acknowledged when its alarm is durable. It has two threads: one for the sockets and net-snmp,
/// one that submits. There may be only one receiver at a time (see Decoder). Any thread may call
/// its operations.
class KELP_EXPORT Receiver {
  public:
    /// Open the sockets and start. Throws std::runtime_error, naming the address, if that fails.
    Receiver(ReceiverSettings settings, Submit submit);
    /// Calls stop().
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    /// Stop receiving, submit what has been received, acknowledge it, and end the threads.
    void stop();

    /// The ports of the sockets, in the order of ReceiverSettings::listen.
    std::vector<std::uint16_t> ports() const;

    /// What happened to the messages since the start, by name: received, each refusal by the name
    /// of its Verdict, wrongSource, tooMany, queueFull, known, unknown, unknownDropped, stored,
    /// notStored, acknowledged.
    std::map<std::string, std::uint64_t> counts() const;

  private:
    class Threads;
    std::unique_ptr<Threads> threads_;
};

}  // namespace kelp::traps
