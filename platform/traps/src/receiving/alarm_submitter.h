#pragma once

#include <kelp/traps/receiver.h>

#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "receiving/counts.h"
#include "receiving/inform_keys.h"
#include "receiving/trap_queue.h"

namespace kelp::traps {

/// The thread that turns the traps of a queue into alarms and submits them. It ends when the queue
/// is closed and empty.
class AlarmSubmitter {
  public:
    /// An inform, and whether its alarm is durable.
    using Outcome = std::pair<Decoder::InformId, bool>;
    /// Called by the thread with what became of informs. Must not throw.
    using Report = std::function<void(const std::vector<Outcome>&)>;

    /// Everything must outlive the object.
    AlarmSubmitter(const ReceiverSettings& settings, TrapQueue& queue, Counts& counts,
                   Submit submit, Report report);
    /// Waits for the end of the thread.
    ~AlarmSubmitter();
    AlarmSubmitter(const AlarmSubmitter&) = delete;
    AlarmSubmitter& operator=(const AlarmSubmitter&) = delete;

  private:
    void run();
    void submitAll(const std::vector<Waiting>& batch);
    bool mayPass(const Trap& trap, const Translation& translation);
    std::vector<bool> store(const std::vector<Submission>& submissions);

    const ReceiverSettings& settings_;
    TrapQueue& queue_;
    Counts& counts_;
    const Submit submit_;
    const Report report_;
    InformKeys keys_;
    util::TokenBuckets unknown_;
    std::thread thread_;
};

}  // namespace kelp::traps
