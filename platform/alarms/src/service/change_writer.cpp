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

std::int64_t microsecondsNow() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

void refuse(Pending& pending, Why why, const std::string& sentence) {
    pending.result.set_exception(std::make_exception_ptr(IntakeRefused(why, sentence)));
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

void ChangeWriter::write(std::vector<PendingPtr> batch) {
    while (!batch.empty()) {
        std::vector<changelog::NewRecord> records;
        std::vector<Written> written = encoded(std::move(batch), records);
        batch.clear();
        if (written.empty())
            return;
        try {
            const std::vector<changelog::Appended> places = log_.append(records);
            apply(written, places);
            return;
        } catch (const std::exception& failure) {
            util::traceFrom(kSubject,
                            std::string("changes of alarms cannot be written: ") + failure.what());
        }
        // nothing of it is in the log
        const auto now = std::chrono::steady_clock::now();
        for (Written& each : written) {
            if (isHurried_ || now >= each.pending->deadline)
                refuse(*each.pending, Why::Storage, "the EMS cannot write alarms to its disk now");
            else
                batch.push_back(std::move(each.pending));
        }
        if (!batch.empty())
            std::this_thread::sleep_for(kWriteAgainAfter);
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

std::vector<ChangeWriter::Written> ChangeWriter::encoded(
    std::vector<PendingPtr> batch, std::vector<changelog::NewRecord>& records) {
    std::vector<Written> written;
    std::set<AlarmId> raised;
    for (PendingPtr& each : batch) {
        try {
            if (isBehind_)
                throw IntakeRefused(Why::Storage,
                                    "the list of alarms is incomplete until a restart");
            checkRoom(each->changes, raised);
            Written next;
            std::vector<changelog::NewRecord> own;
            for (std::size_t i = 0; i < each->changes.size(); ++i) {
                next.changes.push_back({nextTime(), each->changes[i]});
                own.push_back({each->key.empty() ? "" : each->key + "/" + std::to_string(i),
                               encode(next.changes.back())});
                if (own.back().content.size() > changelog::kContentBytesMax)
                    throw IntakeRefused(
                        Why::Invalid, "an alarm with its texts is larger than " +
                                          std::to_string(changelog::kContentBytesMax) + " octets");
            }
            next.pending = std::move(each);
            written.push_back(std::move(next));
            std::move(own.begin(), own.end(), std::back_inserter(records));
        } catch (const IntakeRefused& refused) {
            refuse(*each, refused.why(), refused.what());
        } catch (const std::exception& failure) {
            refuse(*each, Why::Invalid, failure.what());
        }
    }
    return written;
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
