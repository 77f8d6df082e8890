#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/mutex.h>

#include <array>
#include <atomic>
#include <exception>
#include <thread>
#include <utility>
#include <vector>

#include "audit/refusal_summary.h"

namespace NS_CORBA {

namespace {

using kelp::oplog::LogCounts;
using kelp::oplog::OperationLog;
using kelp::oplog::OperationRecord;
using kelp::oplog::SecurityLog;
using kelp::oplog::SecurityRecord;
using kelp::util::LockRank;
using kelp::util::MutexLock;
using kelp::util::MutexUnlock;

/// Interval of the checks for floods whose minute is over.
constexpr std::chrono::seconds kLook{1};
/// Maximum number of networks whose requests without a log-in are summarised separately.
constexpr std::size_t kNetworksMax = 1000;

/// The open logs, and the thread that writes the summaries of floods when their period ends.
class Logs {
  public:
    Logs()
        : operations(kelp::oplog::configuredOperationLog()),
          operationsWithoutLogIn(kelp::oplog::configuredLogBeforeLogIn()),
          security(kelp::oplog::configuredSecurityLog()) {
        readLimits();
        teller_ = std::thread([this] { tellFloods(); });
    }

    void readLimits() KELP_EXCLUDES(mutex_) {
        const auto individually = kelp::oplog::configuredRecordsBeforeLogIn();
        const MutexLock guard(mutex_);
        requests_.setIndividually(individually);
    }

    void stop() KELP_EXCLUDES(mutex_) {
        {
            const MutexLock guard(mutex_);
            stops_ = true;
        }
        stopped_.notify_all();
        teller_.join();
        operations.stop();
        operationsWithoutLogIn.stop();
        security.stop();
    }

    void writeWithoutLogIn(const OperationRecord& record, const std::string& network)
        KELP_EXCLUDES(mutex_) {
        {
            const MutexLock guard(mutex_);
            if (!stops_ && !requests_.standsByItself(record.outcome, network, record.time,
                                                     std::chrono::steady_clock::now()))
                return;
        }
        operationsWithoutLogIn.write(record);
    }

    void write(SecurityRecord record) KELP_EXCLUDES(mutex_) {
        if (record.outcome == kOutcomeOk) {
            security.write(std::move(record));
            return;
        }
        {
            const MutexLock guard(mutex_);
            if (!stops_ && !refusals_.standsByItself(record, std::chrono::steady_clock::now()))
                return;
        }
        security.write(std::move(record));
    }

    OperationLog operations;
    OperationLog operationsWithoutLogIn;
    SecurityLog security;

  private:
    using Requests = kelp::util::FloodSummary<std::string>;  ///< floods by outcome

    void tellFloods() KELP_EXCLUDES(mutex_) {
        const MutexLock lock(mutex_);
        // checks on a timer, so that no refusal of a flood has to wake it
        while (!stopsWithin(kLook)) {
            const auto now = std::chrono::steady_clock::now();
            tell(refusals_.take(now), requests_.take(now));
        }
        tell(refusals_.takeAll(), requests_.takeAll());
    }

    bool stopsWithin(std::chrono::seconds limit) KELP_REQUIRES(mutex_) {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (!stops_ && std::chrono::steady_clock::now() < end)
            stopped_.wait_until(mutex_, end);
        return stops_;
    }

    void tell(std::vector<SecurityRecord> refusals, const std::vector<Requests::Summary>& requests)
        KELP_REQUIRES(mutex_) {
        const MutexUnlock unlocked(mutex_);
        for (SecurityRecord& each : refusals)
            security.write(std::move(each));
        for (const Requests::Summary& each : requests)
            operationsWithoutLogIn.write(recordOf(each));
    }

    static OperationRecord recordOf(const Requests::Summary& summary) {
        OperationRecord record;
        record.time = summary.first;
        record.peer = summary.source;
        record.outcome = summary.kind;
        record.detail = countedText(summary.count, summary.last);
        return record;
    }

    kelp::util::Mutex mutex_{LockRank::Service, "Logs::mutex_"};
    RefusalSummary refusals_ KELP_GUARDED_BY(mutex_);
    Requests requests_ KELP_GUARDED_BY(mutex_){0, RefusalSummary::kPeriod, kNetworksMax};
    bool stops_ KELP_GUARDED_BY(mutex_) = false;
    kelp::util::ConditionVariable stopped_;
    std::thread teller_;
};

void traceLost(const char* log, const std::exception& failure) {
    tracePoint("audittrail");
    TaTrace("[AuditTrail::Write] A record of the %s is lost: %s", log, failure.what());
}

LogCounts sum(const LogCounts& one, const LogCounts& other) {
    return {one.taken + other.taken, one.written + other.written, one.missing + other.missing,
            one.aside + other.aside, one.waiting + other.waiting, one.fails || other.fails};
}

/// The events of each kind, by outcome.
class EventTally {
  public:
    void add(const SecurityRecord& record) {
        Count& count = counts_[static_cast<std::size_t>(record.event)];
        (record.outcome == kOutcomeOk ? count.ok : count.refused) += 1;
    }
    std::vector<AuditTrail::EventCount> all() const {
        std::vector<AuditTrail::EventCount> all;
        for (std::size_t kind = 0; kind < kKinds; ++kind)
            all.push_back({static_cast<kelp::oplog::SecurityEvent>(kind), counts_[kind].ok,
                           counts_[kind].refused});
        return all;
    }

  private:
    static constexpr std::size_t kKinds =
        static_cast<std::size_t>(kelp::oplog::SecurityEvent::NamingChange) + 1;
    struct Count {
        std::atomic<std::uint64_t> ok{0};
        std::atomic<std::uint64_t> refused{0};
    };
    std::array<Count, kKinds> counts_{};
};

}  // namespace

struct AuditTrail::State {
    EventTally tally;
    /// Held for a whole Open, Close or UpdateRetention.
    kelp::util::Mutex mutex{LockRank::Leaf, "AuditTrail::State::mutex"};
    std::unique_ptr<Logs> held KELP_GUARDED_BY(mutex);
    std::atomic<Logs*> logs{nullptr};
    // kept, because a request that outlives the stop may still use the pointer
    std::vector<std::unique_ptr<Logs>> closed KELP_GUARDED_BY(mutex);
};

AuditTrail::AuditTrail() : state_(std::make_unique<State>()) {}
AuditTrail::~AuditTrail() = default;

AuditTrail& AuditTrail::Instance() {
    // never destroyed, because requests on the ORB's threads may outlive main
    static AuditTrail* const trail = new AuditTrail;
    return *trail;
}

void AuditTrail::Open() {
    const MutexLock one(state_->mutex);
    if (state_->held)
        return;
    state_->held = std::make_unique<Logs>();
    state_->logs = state_->held.get();
}

void AuditTrail::Close() {
    const MutexLock one(state_->mutex);
    if (!state_->held)
        return;
    state_->logs = nullptr;
    state_->held->stop();
    state_->closed.push_back(std::move(state_->held));
}

bool AuditTrail::IsOpen() const {
    return state_->logs.load() != nullptr;
}

void AuditTrail::UpdateRetention() {
    const MutexLock one(state_->mutex);
    if (!state_->held)
        return;
    state_->held->operations.setRetention(kelp::oplog::configuredOperationLog().retention);
    state_->held->operationsWithoutLogIn.setRetention(
        kelp::oplog::configuredLogBeforeLogIn().retention);
    state_->held->readLimits();
    state_->held->security.setRetention(kelp::oplog::configuredSecurityLog().retention);
}

void AuditTrail::Write(const kelp::oplog::OperationRecord& record) noexcept {
    if (Logs* const logs = state_->logs.load())
        logs->operations.write(record);
}

void AuditTrail::WriteWithoutLogIn(const kelp::oplog::OperationRecord& record,
                                   const std::string& network) noexcept {
    try {
        if (Logs* const logs = state_->logs.load())
            logs->writeWithoutLogIn(record, network);
    } catch (const std::exception& failure) {
        traceLost("operation log", failure);
    }
}

void AuditTrail::Write(SecurityRecord record) noexcept {
    try {
        if (Logs* const logs = state_->logs.load()) {
            state_->tally.add(record);
            logs->write(std::move(record));
        }
    } catch (const std::exception& failure) {
        traceLost("security log", failure);
    }
}

LogCounts AuditTrail::OperationCounts() const {
    const Logs* const logs = state_->logs.load();
    return logs == nullptr ? LogCounts()
                           : sum(logs->operations.counts(), logs->operationsWithoutLogIn.counts());
}

LogCounts AuditTrail::SecurityCounts() const {
    const Logs* const logs = state_->logs.load();
    return logs == nullptr ? LogCounts() : logs->security.counts();
}

std::vector<AuditTrail::EventCount> AuditTrail::EventCounts() const {
    return state_->tally.all();
}

}  // namespace NS_CORBA
