#include "receiving/alarm_submitter.h"

#include <kelp/util/peer_address.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_limit.h>

#include <algorithm>
#include <chrono>

namespace kelp::traps {

namespace {

constexpr const char* kSubject = "alarmsubmitter";
/// Large enough that a storm does not wait for the disk once for each trap.
constexpr std::size_t kBatchMax = 500;

}  // namespace

AlarmSubmitter::AlarmSubmitter(const ReceiverSettings& settings, TrapQueue& queue, Counts& counts,
                               Submit submit, Report report)
    : settings_(settings),
      queue_(queue),
      counts_(counts),
      submit_(std::move(submit)),
      report_(std::move(report)),
      thread_(util::startThread("snmp alarms", [this] { run(); })) {}

AlarmSubmitter::~AlarmSubmitter() {
    thread_.join();
}

void AlarmSubmitter::run() {
    for (;;) {
        const std::vector<Waiting> batch = queue_.pop(kBatchMax);
        if (batch.empty())
            return;
        submitAll(batch);
    }
}

void AlarmSubmitter::submitAll(const std::vector<Waiting>& batch) {
    std::vector<Submission> submissions;
    std::vector<Decoder::InformId> informs;
    std::vector<Outcome> outcomes;
    for (const Waiting& each : batch) {
        Translation translation = settings_.mapping.translate(each.trap, settings_.ems);
        if (!mayPass(each.trap, translation)) {
            outcomes.emplace_back(each.inform, false);
            continue;
        }
        std::string key;
        if (each.inform != 0)
            key = keys_.keyOf(each.trap, std::chrono::system_clock::now());
        submissions.push_back({std::move(translation.alarm), std::move(key)});
        informs.push_back(each.inform);
    }
    const std::vector<bool> stored = store(submissions);
    for (std::size_t at = 0; at < informs.size(); ++at) {
        const bool isStored = at < stored.size() && stored[at];
        ++(isStored ? counts_.stored : counts_.notStored);
        outcomes.emplace_back(informs[at], isStored);
    }
    report_(outcomes);
}

bool AlarmSubmitter::mayPass(const Trap& trap, const Translation& translation) {
    if (translation.whyUnknown.empty()) {
        ++counts_.known;
        return true;
    }
    ++counts_.unknown;
    const std::string source = util::networkOf(util::parseHostAddress(trap.address));
    if (unknown_.take(source, std::chrono::steady_clock::now(), settings_.unknownPerSource)) {
        util::TraceLine line;
        line.file = kSubject;
        line.function = "unknown";
        line.text = "No alarm for the trap " + trap.oid.text() + " from " + trap.address + ": " +
                    translation.whyUnknown;
        util::traceLimited(std::move(line), "unknown traps from " + source);
        return true;
    }
    ++counts_.unknownDropped;
    return false;
}

std::vector<bool> AlarmSubmitter::store(const std::vector<Submission>& submissions) {
    if (submissions.empty())
        return {};
    try {
        return submit_(submissions);
    } catch (...) {
        util::TraceLine line;
        line.file = kSubject;
        line.function = "unknown";
        line.text = std::to_string(submissions.size()) +
                    " alarms of traps are not stored: " + util::currentExceptionText();
        util::traceLimited(std::move(line), "alarms of traps not stored");
        return {};
    }
}

}  // namespace kelp::traps
