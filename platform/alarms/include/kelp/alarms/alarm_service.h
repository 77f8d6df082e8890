#pragma once

#include <kelp/alarms/alarm_list.h>
#include <kelp/alarms/event_sink.h>
#include <kelp/alarms/intake.h>
#include <kelp/changelog/change_log.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace kelp::alarms {

/// What a caller may submit; AlarmService adds the time.
using Submission = std::variant<Report, Acknowledge, NetworkChange>;

/// Maximum length of an idempotency key in octets.
inline constexpr std::size_t kSubmissionKeyBytesMax = 180;

struct ServiceSettings {
    ListSettings list;
    std::size_t activeMax = 200'000;
    /// Changes that wait to be written. A storm of 20,000 is written within seconds.
    std::size_t backlogMax = 20'000;
    /// Their size by memoryOf(). 20,000 usual alarms have half of it; larger ones fill it earlier.
    std::size_t backlogBytesMax = 64 << 20;
    /// How long a submission waits for room in the backlog, or for a disk that fails. Shorter than
    /// the time-outs of senders.
    std::chrono::milliseconds patience{2000};
    /// Events that wait for the channel. While there are more, nothing is written.
    std::size_t unsentMax = 100'000;
    /// Where saved lists are kept. The folder is made.
    std::filesystem::path savedLists;
    /// The list is saved each time the log has grown by this many records. A start applies at most
    /// about twice as many.
    std::size_t recordsPerSave = 50'000;
    /// Records that stay in the log although a saved list contains them, for their keys.
    std::size_t recordsKept = 200'000;
};

/// A submission that was refused although its reports may be right: there were too many, or they
/// could not be stored.
struct Refusal {
    std::chrono::system_clock::time_point time;
    std::string reason;  ///< one sentence
};

/// What one source has submitted.
struct SourceCounts {
    std::string source;  ///< an adapter's name, "operator" for the operator's interface, "EMS"
    std::uint64_t accepted = 0;  ///< changes
    std::uint64_t known = 0;     ///< changes whose key had been accepted earlier
    std::uint64_t refused = 0;   ///< changes
};

/// Numbers since the start of the service, and sizes.
struct ServiceCounts {
    std::uint64_t submitted = 0;         ///< changes
    std::uint64_t accepted = 0;          ///< changes that became records
    std::uint64_t known = 0;             ///< changes whose key had been accepted earlier
    std::uint64_t refused = 0;           ///< changes
    std::uint64_t events = 0;            ///< handed over to the channel
    std::optional<Refusal> lastRefusal;  ///< none: there was none
    std::vector<SourceCounts> sources;   ///< in the order of their names
    std::size_t backlog = 0;             ///< changes that wait to be written
    std::size_t unsent = 0;              ///< events that wait for the channel
    Position applied = 0;
    Position handedOver = 0;
};

/// Keeps the list of alarms of the EMS: writes each change to the log, applies it, and hands its
/// event over, in this order. After a crash the next start() hands over the events that may be
/// missing, with the same notification ids.
///
/// Has a thread that writes, one that hands over and one for what is due by time. Any thread may
/// call any operation.
class KELP_EXPORT AlarmService {
  public:
    AlarmService(const ServiceSettings& settings, std::unique_ptr<changelog::ChangeLog> log);
    /// Calls stop().
    ~AlarmService();
    AlarmService(const AlarmService&) = delete;
    AlarmService& operator=(const AlarmService&) = delete;

    /// Bring the list up to date from the newest saved list and the log, then start the threads.
    /// The list is complete when this returns. Throws std::runtime_error (one sentence that names
    /// the file) when the log or all saved lists that are needed are damaged.
    void start();

    /// Refuse further submissions, write those that wait, and end the threads. Events that the
    /// sink does not accept within a second stay for the next start.
    void stop();

    /// Send events here from now on; null: to nobody, they wait. When this returns the sink that
    /// was set before is not called any more.
    void setSink(EventSink* sink);

    /// Submit changes, which stay together and in order. Returns when all are durable and applied.
    /// With a key, a repeated submission has no effect, also after a restart, as long as the log
    /// has its records (`recordsKept`). A submission with the key of another one is refused. A key
    /// has at most kSubmissionKeyBytesMax octets. Throws IntakeRefused.
    /// Adapters use Intake instead. `source` is for the counts; "" stands for the EMS. At most
    /// kSourcesMax sources are counted separately.
    std::vector<Result> submit(std::vector<Submission> changes, const std::string& key = {},
                               const std::string& source = {});
    static constexpr std::size_t kSourcesMax = 64;

    /// The list as it is now, which never changes.
    std::shared_ptr<const ListState> state() const;
    ServiceCounts counts() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// The service of this process; null while there is none.
KELP_EXPORT std::shared_ptr<AlarmService> sharedService();
/// Set the service of this process. Its owner sets null before it stops the service.
KELP_EXPORT void shareService(std::shared_ptr<AlarmService> service);

}  // namespace kelp::alarms
