#include <kelp/alarms/alarm_service.h>
#include <kelp/util/mutex.h>
#include <kelp/util/thread_work.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <atomic>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "service/change_writer.h"
#include "service/hand_over.h"
#include "service/intake_counts.h"
#include "service/intake_queue.h"
#include "service/list_at_start.h"
#include "service/saved_lists.h"

namespace kelp::alarms {

namespace {

using namespace std::chrono_literals;
using Why = IntakeRefused::Why;

constexpr const char* kSubject = "alarms";
/// Changes that are written in one step. One step costs one wait for the disk.
constexpr IntakeQueue::Amount kAtATime{2000, 8 << 20};
/// How often flapping alarms and the size of the log are checked.
constexpr auto kRound = 500ms;
/// What the channel takes at the stop.
constexpr auto kStopGrace = 1s;

Content contentOf(Submission submission) {
    return std::visit([]<class T>(T&& each) { return Content(std::forward<T>(each)); },
                      std::move(submission));
}

void check(const std::vector<Submission>& changes, const std::string& key) {
    if (changes.size() > kSubmissionMax)
        throw IntakeRefused(Why::Invalid, "at most " + std::to_string(kSubmissionMax) +
                                              " changes can be submitted at a time");
    if (key.size() > kSubmissionKeyBytesMax)
        throw IntakeRefused(Why::Invalid, "the idempotency key is longer than " +
                                              std::to_string(kSubmissionKeyBytesMax) + " octets");
    for (const Submission& each : changes) {
        const auto* const report = std::get_if<Report>(&each);
        if (report == nullptr)
            continue;
        for (const std::string& wrong :
             {whatIsWrong(report->alarm), whatIsTooLong(report->alarm)}) {
            if (!wrong.empty())
                throw IntakeRefused(Why::Invalid, wrong);
        }
    }
}

}  // namespace

struct AlarmService::State {
    State(const ServiceSettings& settingsOf, std::unique_ptr<changelog::ChangeLog> logOf)
        : settings(settingsOf), log(std::move(logOf)), savedLists(settings.savedLists) {}

    void writeUntilClosed();
    void doRounds();
    void noteRefusal(const IntakeRefused& refusal) KELP_EXCLUDES(refusalMutex);
    void settleQuietOnes();
    void saveIfDue();
    void truncate();
    bool waitForNextRound() KELP_EXCLUDES(roundMutex);

    const ServiceSettings settings;
    const std::unique_ptr<changelog::ChangeLog> log;
    SavedLists savedLists;
    HandOver handOver{*log};
    IntakeQueue intake{{settings.backlogMax, settings.backlogBytesMax}};
    ChangeWriter writer{settings, *log, handOver};
    std::atomic<std::uint64_t> submitted{0};
    std::atomic<std::uint64_t> refused{0};
    IntakeCounts intakeCounts;
    mutable util::Mutex refusalMutex{util::LockRank::Leaf, "AlarmService::refusalMutex"};
    std::optional<Refusal> lastRefusal KELP_GUARDED_BY(refusalMutex);
    std::thread writing;
    std::thread rounds;
    std::atomic<bool> isStarted{false};

    // of the thread that does the rounds
    Position savedAt = 0;
    std::shared_ptr<const ListState> toSave;  // null: none

    util::Mutex roundMutex{util::LockRank::Leaf, "AlarmService::roundMutex"};
    util::ConditionVariable roundChanged;
    bool isStopping KELP_GUARDED_BY(roundMutex) = false;
};

AlarmService::AlarmService(const ServiceSettings& settings,
                           std::unique_ptr<changelog::ChangeLog> log)
    : state_(std::make_unique<State>(settings, std::move(log))) {}

AlarmService::~AlarmService() {
    stop();
}

void AlarmService::start() {
    State& s = *state_;
    ListAtStart at = readList(s.settings.list, s.savedLists, *s.log);
    s.savedAt = at.saved;
    const Position newest = at.list.state().position();
    s.handOver.add(std::move(at.unsent), newest);
    s.writer.begin(std::move(at.list));
    s.handOver.start();
    s.writing = util::startThread("alarm log", [&s] { s.writeUntilClosed(); });
    s.rounds = util::startThread("alarm rounds", [&s] { s.doRounds(); });
    s.isStarted = true;
}

void AlarmService::stop() {
    State& s = *state_;
    s.isStarted = false;
    s.intake.close();
    s.writer.hurry();
    {
        const util::MutexLock lock(s.roundMutex);
        s.isStopping = true;
        s.roundChanged.notify_all();
    }
    s.handOver.doNotWait();
    if (s.rounds.joinable())
        s.rounds.join();
    if (s.writing.joinable())
        s.writing.join();
    s.handOver.stop(kStopGrace);
}

void AlarmService::setSink(EventSink* sink) {
    state_->handOver.setSink(sink);
}

std::vector<Result> AlarmService::submit(std::vector<Submission> changes, const std::string& key,
                                         const std::string& source) {
    State& s = *state_;
    s.submitted += changes.size();
    const std::size_t count = changes.size();
    try {
        check(changes, key);
        if (!s.isStarted)
            throw IntakeRefused(Why::Stopping, "the EMS does not accept alarms now");
        if (changes.empty())
            return {};
        auto pending = std::make_unique<Pending>();
        pending->key = key;
        pending->deadline = std::chrono::steady_clock::now() + s.settings.patience;
        for (Submission& each : changes)
            pending->add(contentOf(std::move(each)));
        std::future<std::vector<Result>> result = pending->result.get_future();
        s.intake.push(std::move(pending));
        std::vector<Result> results = result.get();
        s.intakeCounts.accepted(source, results);
        return results;
    } catch (const IntakeRefused& refusal) {
        s.refused += count;
        s.intakeCounts.refused(source, count);
        s.noteRefusal(refusal);
        throw;
    }
}

/// The fault of the one who submits is nothing for the operator.
void AlarmService::State::noteRefusal(const IntakeRefused& refusal) {
    if (refusal.why() != Why::Busy && refusal.why() != Why::Storage && refusal.why() != Why::Full)
        return;
    const util::MutexLock lock(refusalMutex);
    lastRefusal = Refusal{std::chrono::system_clock::now(), refusal.what()};
}

std::shared_ptr<const ListState> AlarmService::state() const {
    return state_->writer.snapshot();
}

ServiceCounts AlarmService::counts() const {
    const State& s = *state_;
    ServiceCounts counts;
    counts.submitted = s.submitted;
    counts.accepted = s.writer.accepted();
    counts.known = s.writer.known();
    counts.refused = s.refused;
    counts.sources = s.intakeCounts.all();
    {
        const util::MutexLock lock(s.refusalMutex);
        counts.lastRefusal = s.lastRefusal;
    }
    counts.events = s.handOver.sent();
    counts.backlog = s.intake.changes();
    counts.unsent = s.handOver.unsent();
    counts.applied = s.writer.applied();
    counts.handedOver = s.handOver.handedOver();
    return counts;
}

void AlarmService::State::writeUntilClosed() {
    for (auto batch = intake.take(kAtATime); !batch.empty(); batch = intake.take(kAtATime)) {
        const util::ThreadWork work("writes changes of alarms");
        // the oldest submission has the first deadline
        while (!batch.empty() && !handOver.waitForRoom(settings.unsentMax, batch.front()->deadline))
            ChangeWriter::refuseExpired(batch);
        writer.write(std::move(batch));
    }
}

void AlarmService::State::doRounds() {
    while (waitForNextRound()) {
        const util::ThreadWork work("settles quiet alarms");
        try {
            settleQuietOnes();
            saveIfDue();
        } catch (...) {
            util::traceFrom(kSubject, util::currentExceptionText());
        }
    }
}

bool AlarmService::State::waitForNextRound() {
    const auto end = std::chrono::steady_clock::now() + kRound;
    const util::MutexLock lock(roundMutex);
    while (!isStopping) {
        if (roundChanged.wait_until(roundMutex, end) == util::ConditionVariable::Status::timeout)
            break;
    }
    return !isStopping;
}

void AlarmService::State::settleQuietOnes() {
    const std::int64_t now = std::chrono::duration_cast<std::chrono::microseconds>(
                                 std::chrono::system_clock::now().time_since_epoch())
                                 .count();
    auto pending = std::make_unique<Pending>();
    for (AlarmId& each : writer.quietFlapping(now)) {
        if (pending->changes.size() < kSubmissionMax)
            pending->add(Settle{std::move(each)});
    }
    if (pending->changes.empty())
        return;
    pending->deadline = std::chrono::steady_clock::now();
    std::future<std::vector<Result>> done = pending->result.get_future();
    // without room now, the next round tries again
    if (!intake.tryPush(pending))
        return;
    try {
        done.get();
    } catch (const IntakeRefused&) {
        // the writer has traced why; the next round tries again
    }
}

void AlarmService::State::saveIfDue() {
    if (!toSave && writer.applied() - savedAt >= settings.recordsPerSave)
        toSave = writer.snapshot();
    // a saved list hides the events of its records from the next start
    if (!toSave || handOver.handedOver() < toSave->position())
        return;
    const std::shared_ptr<const ListState> state = std::exchange(toSave, nullptr);
    savedLists.save(state);
    savedAt = state->position();
    truncate();
}

void AlarmService::State::truncate() {
    const std::vector<Position> saved = savedLists.positions();
    const Position newest = log->last();
    if (saved.size() < SavedLists::kKept || newest <= settings.recordsKept)
        return;
    const Position end = std::min(saved.back() + 1, newest - settings.recordsKept);
    if (end <= log->first())
        return;
    // first the mark: a crash in between must not make a start begin in the middle of the log
    log->setMark(kTruncatedMark, end - 1);
    log->truncateBelow(end);
}

}  // namespace kelp::alarms
