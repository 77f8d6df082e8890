#include "service/change_writer.h"

#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <thread>
#include <utility>

namespace kelp::alarms {

namespace {

using namespace std::chrono_literals;
using Why = IntakeRefused::Why;

constexpr const char* kSubject = "alarms";
/// A full disk may have room again at any time.
constexpr auto kWriteAgainAfter = 50ms;
constexpr const char* kCannotWrite = "the EMS cannot write alarms to its disk now";
constexpr std::size_t kBytesReadAtATime = 4 << 20;

std::int64_t microsecondsNow() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

void refuse(Pending& pending, Why why, const std::string& sentence) {
    pending.result.set_exception(std::make_exception_ptr(IntakeRefused(why, sentence)));
}

static_assert(kRecordBytesMax == changelog::kContentBytesMax);

/// The idempotency key of one record of a submission.
std::string recordKey(const std::string& key, std::size_t index) {
    return key + "/" + std::to_string(index);
}

bool isRaise(const Content& content) {
    const auto* const report = std::get_if<Report>(&content);
    return report != nullptr && report->alarm.isClearable &&
           report->alarm.perceivedSeverity != Severity::Cleared;
}

}  // namespace

void ChangeWriter::begin(AlarmList list) {
    const util::MutexLock lock(listMutex_);
    list_ = std::move(list);
}

void ChangeWriter::write(std::vector<PendingPtr> pending) {
    while (!pending.empty()) {
        Batch batch = encoded(std::move(pending));
        pending = std::move(batch.later);
        if (batch.written.empty())
            continue;
        try {
            const std::vector<changelog::Appended> places = log_.append(batch.records);
            apply(batch.written, places);
            continue;
        } catch (const std::exception& failure) {
            util::traceFrom(kSubject,
                            std::string("changes of alarms cannot be written: ") + failure.what());
        }
        // nothing of it is in the log
        const auto now = std::chrono::steady_clock::now();
        std::vector<PendingPtr> again;
        for (Written& each : batch.written) {
            if (isHurried_ || now >= each.pending->deadline)
                refuse(*each.pending, Why::Storage, kCannotWrite);
            else
                again.push_back(std::move(each.pending));
        }
        if (!again.empty())
            std::this_thread::sleep_for(kWriteAgainAfter);
        std::move(pending.begin(), pending.end(), std::back_inserter(again));
        pending = std::move(again);
    }
}

void ChangeWriter::refuseExpired(std::vector<PendingPtr>& batch) {
    const auto now = std::chrono::steady_clock::now();
    std::erase_if(batch, [now](const PendingPtr& each) {
        if (now < each->deadline)
            return false;
        refuse(*each, Why::Busy, "the EMS has more events than it can send now, try again later");
        return true;
    });
}

ChangeWriter::Batch ChangeWriter::encoded(std::vector<PendingPtr> pending) {
    Batch batch;
    std::set<AlarmId> raised;
    for (PendingPtr& each : pending) {
        if (!each->key.empty() && batch.keys.contains(each->key)) {
            batch.later.push_back(std::move(each));
            continue;
        }
        try {
            if (isBehind_)
                throw IntakeRefused(Why::Storage,
                                    "the list of alarms is incomplete until a restart");
            if (each->key.empty() || !answerRepeat(*each))
                add(each, raised, batch);
        } catch (const IntakeRefused& refused) {
            refuse(*each, refused.why(), refused.what());
        } catch (const changelog::LogFailure& failure) {
            util::traceFrom(kSubject, failure.what());
            refuse(*each, Why::Storage, kCannotWrite);
        } catch (const std::exception& failure) {
            refuse(*each, Why::Invalid, failure.what());
        }
    }
    return batch;
}

void ChangeWriter::add(PendingPtr& pending, std::set<AlarmId>& raised, Batch& batch) {
    checkRoom(pending->changes, raised);
    Written next;
    std::vector<changelog::NewRecord> records;
    for (std::size_t i = 0; i < pending->changes.size(); ++i) {
        next.changes.push_back({nextTime(), pending->changes[i]});
        records.push_back(
            {pending->key.empty() ? "" : recordKey(pending->key, i), encode(next.changes.back())});
    }
    if (!pending->key.empty())
        batch.keys.insert(pending->key);
    next.pending = std::move(pending);
    batch.written.push_back(std::move(next));
    std::move(records.begin(), records.end(), std::back_inserter(batch.records));
}

bool ChangeWriter::answerRepeat(Pending& pending) {
    const std::size_t count = pending.changes.size();
    const auto first = log_.find(recordKey(pending.key, 0));
    if (!first)
        return false;
    // the records of a submission are consecutive
    bool isSame = log_.find(recordKey(pending.key, count - 1)) == *first + count - 1 &&
                  !log_.find(recordKey(pending.key, count));
    std::vector<Result> results;
    while (isSame && results.size() < count) {
        const Position last = *first + results.size() - 1;
        for (const changelog::Record& each :
             log_.read(last, count - results.size(), kBytesReadAtATime)) {
            const Change stored = decode(each.content);
            isSame = isSame && encode({stored.at, pending.changes[results.size()]}) == each.content;
            results.push_back({each.position, std::nullopt, false});
        }
        // a truncation may have removed them meanwhile
        isSame = isSame && !results.empty() && results.back().position > last;
    }
    if (!isSame)
        throw IntakeRefused(Why::Conflict, "the idempotency key \"" +
                                               util::escaped(pending.key, kSubmissionKeyBytesMax) +
                                               "\" was used with other alarms");
    known_ += count;
    pending.result.set_value(std::move(results));
    return true;
}

void ChangeWriter::checkRoom(const std::vector<Content>& changes, std::set<AlarmId>& raised) const {
    std::vector<std::set<AlarmId>::iterator> added;
    const util::MutexLock lock(listMutex_);
    for (const Content& each : changes) {
        if (!isRaise(each))
            continue;
        AlarmId id = identityOf(std::get<Report>(each).alarm);
        if (list_.state().find(id))
            continue;
        const auto [place, isNew] = raised.insert(std::move(id));
        if (isNew)
            added.push_back(place);
    }
    if (added.empty() || list_.state().size() + raised.size() <= settings_.activeMax)
        return;
    for (const auto& each : added)
        raised.erase(each);
    throw IntakeRefused(Why::Full, "the list of active alarms is full: it holds " +
                                       std::to_string(list_.state().size()) + " of " +
                                       std::to_string(settings_.activeMax));
}

void ChangeWriter::apply(std::vector<Written>& batch,
                         const std::vector<changelog::Appended>& places) {
    std::vector<Event> events;
    std::vector<std::vector<Result>> results;
    Position newest = 0;
    {
        const util::MutexLock lock(listMutex_);
        auto place = places.begin();
        for (const Written& each : batch) {
            std::vector<Result>& own = results.emplace_back();
            for (const Change& change : each.changes) {
                const auto [position, isRepeat] = *place++;
                if (isRepeat) {
                    own.push_back({position, std::nullopt, false});
                    ++known_;
                    continue;
                }
                ++accepted_;
                newest = position;
                try {
                    Effect effect = list_.apply(position, change);
                    own.push_back({position, effect.outcome, effect.event.has_value()});
                    if (effect.event)
                        events.push_back(std::move(*effect.event));
                } catch (...) {
                    // the record is in the log, and so the next start applies it
                    isBehind_ = true;
                    util::traceFrom(kSubject,
                                    "the record " + std::to_string(position) +
                                        " cannot be applied: " + util::currentExceptionText());
                    own.push_back({position, std::nullopt, false});
                }
            }
        }
    }
    if (newest != 0)
        handOver_.add(std::move(events), newest);
    for (std::size_t i = 0; i < batch.size(); ++i)
        batch[i].pending->result.set_value(std::move(results[i]));
}

/// The time of the next record. Never before that of the last one, also when the clock is set back.
std::int64_t ChangeWriter::nextTime() {
    lastTime_ = std::max(lastTime_, microsecondsNow());
    return lastTime_;
}

std::shared_ptr<const ListState> ChangeWriter::snapshot() {
    const util::MutexLock lock(listMutex_);
    return list_.snapshot();
}

std::vector<AlarmId> ChangeWriter::quietFlapping(std::int64_t now) const {
    const util::MutexLock lock(listMutex_);
    return list_.quietFlapping(now);
}

Position ChangeWriter::applied() const {
    const util::MutexLock lock(listMutex_);
    return list_.state().position();
}

}  // namespace kelp::alarms
