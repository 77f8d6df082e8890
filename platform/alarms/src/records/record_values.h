#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kelp/alarms/alarm_id.h"
#include "kelp/alarms/alarm_json.h"

namespace kelp::alarms {

/// Reads the members of an object, each of which must exist. Throws DamagedRecord. `json` must
/// outlive it.
class Members {
  public:
    /// The object must have exactly this number of members, so that none stays unread.
    Members(const Json& json, std::size_t count);

    const Json& at(const char* key) const;
    bool flag(const char* key) const;
    std::int64_t integer(const char* key) const;
    std::uint64_t natural(const char* key) const;
    std::string text(const char* key) const;
    Name name(const char* key) const;
    std::vector<std::int64_t> integers(const char* key) const;
    Alarm alarm(const char* key) const;
    AlarmId id(const char* key) const;

  private:
    [[noreturn]] static void refuse(const char* key);

    const Json& json_;
};

/// Write an alarm as Members::alarm() reads it.
Json recordOf(const Alarm& alarm);
Json recordOf(const AlarmId& id);

}  // namespace kelp::alarms
