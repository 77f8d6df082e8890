#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/alarms/event.h>
#include <kelp/util/export.h>

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelp::alarms {

/// What has become of a report.
struct Result {
    /// The position in the order of all reports. As text it is the notificationId of the event.
    Position position = 0;
    /// Empty when a report with the same idempotency key was accepted earlier, at that position.
    std::optional<Outcome> outcome;
    bool hasEvent = false;  ///< NMS get an event about it
};

/// A submission was refused as a whole: no part of it has an effect. One sentence.
class KELP_EXPORT IntakeRefused : public std::runtime_error {
  public:
    enum class Why {
        Busy,      ///< too many reports are waiting; submit it again later
        Storage,   ///< reports cannot be stored now; submit it again later
        Stopping,  ///< the EMS is about to stop; submit it again after its next start
        Full,      ///< the list has as many active alarms as it may; clears are still accepted
        Invalid,   ///< a report is not valid; the sentence names the field
        Conflict,  ///< the idempotency key was used with other reports
        NotReady   ///< this process has no list, or not yet; submit it again later
    };
    IntakeRefused(Why why, const std::string& sentence) : std::runtime_error(sentence), why_(why) {}
    ~IntakeRefused() override;
    IntakeRefused(const IntakeRefused&) = default;
    IntakeRefused& operator=(const IntakeRefused&) = default;

    Why why() const { return why_; }
    /// Whether the same submission may be accepted later. If not, one of its reports or its key is
    /// at fault: submit each report alone, with a separate key, to accept the others.
    bool isTemporary() const {
        return why_ != Why::Full && why_ != Why::Invalid && why_ != Why::Conflict;
    }

  private:
    Why why_;
};

/// Maximum number of reports in a submission.
inline constexpr std::size_t kSubmissionMax = 10'000;
/// Maximum size of an adapter's name and of its keys, in octets.
inline constexpr std::size_t kAdapterNameBytesMax = 32;
inline constexpr std::size_t kKeyBytesMax = 140;

/// Through this, an adapter in the host's process reports the alarms of its elements to the alarm
/// list of the EMS. An adapter is a bundle that is loaded after kelp_ems, and so is stopped before
/// it; examples/adapter is one.
///
/// A report that was accepted is never lost: it survives a crash of the host and, with `[alarms]
/// durability = "full"`, a power cut. NMS get its event in the order of the reports.
///
/// Every operation returns when its reports are durable, which takes about as long as one write to
/// the disk. Reports that are submitted together share that write, so submit a storm in groups of
/// some hundreds. When the EMS cannot keep up, an operation waits for up to `[alarms]
/// intake_wait_ms` and is then refused; it never blocks longer.
///
/// Any thread may call any operation, but not while it holds a lock that an NMS's request needs.
/// The operations throw IntakeRefused, and std::bad_alloc when there is no memory.
class KELP_EXPORT Intake {
  public:
    /// `adapter` separates the keys of this adapter from those of others. It consists of lower-case
    /// letters, digits and "_" and never changes. Throws std::invalid_argument for another text.
    explicit Intake(const std::string& adapter);

    /// Whether there is a list. While there is none, every submission is refused with NotReady.
    static bool isReady();

    /// Report that an alarm is active, or that an active alarm has other values. Refused with
    /// Invalid for the severity Cleared.
    ///
    /// `key` is the idempotency key: when a report with the same key of the same adapter was
    /// accepted before, this one has no effect and its outcome is empty. Use it to repeat a report
    /// whose acceptance is uncertain, for example after a crash. The list remembers the keys of at
    /// least the newest 200,000 reports. Without a key nothing is recognised.
    Result raise(const Alarm& alarm, const std::string& key = {}) const;

    /// Report that an alarm is over. Only its identity counts: objectName, layerRate, probableCause
    /// and probableCauseQualifier as they were raised. The severity is set to Cleared.
    Result clear(Alarm alarm, const std::string& key = {}) const;

    /// Submit reports, which stay together and in order: all are accepted or none. Those with the
    /// severity Cleared are clears. Returns a result for each. With a key, a report is recognised
    /// by the key and its place, so a repeated submission must have the same reports in the same
    /// order; it is refused with Conflict otherwise. At most kSubmissionMax reports.
    std::vector<Result> submit(std::vector<Alarm> reports, const std::string& key = {}) const;

  private:
    const std::string adapter_;
    const std::string prefix_;  ///< of the keys
};

/// An alarm of this object with the fields that follow from these three: nativeEMSName is the
/// value of the name's last component, nativeProbableCause is the probable cause, and objectType
/// follows from the name's last component (Ems if it does not). The other fields have their
/// defaults. The name begins with the component "EMS", whose value is `[ems] name`.
KELP_EXPORT Alarm newAlarm(Name objectName, const std::string& probableCause, Severity severity);

}  // namespace kelp::alarms
