#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/alarms/alarm_id.h>
#include <kelp/util/export.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

namespace kelp::alarms {

/// An alarm is raised, has other values, or is cleared (severity Cleared).
struct Report {
    Alarm alarm;

    bool operator==(const Report&) const = default;
};

/// Somebody acknowledges an alarm, or takes that back.
struct Acknowledge {
    AlarmId id;
    bool isAcknowledged = true;
    std::string user;     ///< who it was; shown to operators only
    std::string notepad;  ///< the reason; may be empty

    bool operator==(const Acknowledge&) const = default;
};

/// A flapping alarm was quiet for `ListSettings::flapQuiet`. Only AlarmService submits it.
struct Settle {
    AlarmId id;

    bool operator==(const Settle&) const = default;
};

/// An object of the network is new, gone, or has other values.
struct NetworkChange {
    enum class Kind { Creation, Deletion, AttributeValueChange, StateChange };

    Kind kind = Kind::Creation;
    Name objectName;
    ObjectType objectType = ObjectType::Ems;
    std::string objectTypeQualifier;
    std::string content;  ///< JSON; opaque here

    bool operator==(const NetworkChange&) const = default;
};

/// A record of the change log.
struct Change {
    std::int64_t at = 0;  ///< when it was accepted: microseconds since the epoch, the EMS's clock
    std::variant<Report, Acknowledge, Settle, NetworkChange> what;

    bool operator==(const Change&) const = default;
};

/// A record or a saved list is damaged, or has been written by a later version. One sentence.
class KELP_EXPORT DamagedRecord : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    ~DamagedRecord() override;
    DamagedRecord(const DamagedRecord&) = default;
    DamagedRecord& operator=(const DamagedRecord&) = default;
};

/// Maximum size of a record in octets: what the change log takes. Reading a record of this size
/// takes some milliseconds. An alarm of at most kAlarmBytesMax fits.
inline constexpr std::size_t kRecordBytesMax = 1 << 20;

/// Write a change as the content of a record: CBOR with a version number. Throws
/// std::invalid_argument when the record would be longer than kRecordBytesMax; the sentence begins
/// with the longest member.
KELP_EXPORT std::string encode(const Change& change);

/// Read the content of a record. Fields may stand in another order or have their default value, and
/// pairs may be an array where encode() writes an object. Throws DamagedRecord for anything else
/// that encode() does not write.
KELP_EXPORT Change decode(std::string_view record);

}  // namespace kelp::alarms
