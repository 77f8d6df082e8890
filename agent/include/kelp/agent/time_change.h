#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <ctime>
#include <list>
#include <string>

namespace NS_KELPCORBA {

/// A calendar time in plain fields. Nothing is checked until checkDateTimeValid.
struct KELP_EXPORT stDateTimeType {
    std::uint16_t year = 0;    ///< full year
    std::uint16_t month = 0;   ///< 1 to 12
    std::uint16_t day = 0;     ///< 1 to 31
    std::uint16_t hour = 0;    ///< 0 to 23
    std::uint16_t minute = 0;  ///< 0 to 59
    std::uint16_t second = 0;  ///< 0 to 59
};

/// Every text of a time that an NMS sees or sends (TMF 814 Time_T: "yyyyMMddhhmmss.s[Z]"), in the
/// layout and time reference that `[time]` configures. A moment is in seconds since the epoch.
/// Nothing throws for a bad time: a moment that cannot be converted counts as now, a text that
/// cannot be printed is empty. Reentrant.
class KELP_EXPORT TimeChange {
  public:
    // -- configured layout
    static std::string time2strByConf(const std::tm& fields);
    /// 0 is now.
    static std::string time2strByConf(long moment);
    /// A time's text in any accepted layout, said in the configured one; empty for an unreadable
    /// text.
    static std::string time2strByConf(const std::string& text);
    /// Now plus an offset in seconds.
    static std::string getEMSTimeByNETime(unsigned long offset);
    /// Now, in local fields.
    static std::string getTime();
    static std::string time2str(const std::tm& fields);
    /// Local fields; 0 is the epoch.
    static std::string time2str(long moment);
    /// Local fields too, in spite of the name.
    static std::string time2GMStr(long moment);
    static std::string getUTCTime();
    static std::string localTime2UTCstr(long moment);
    static std::string localTime2UTCstr(std::tm fields);

    // -- "20240105030405.0Z"
    /// Local fields in the layout of UTC; a text of another length than 17 has a blank in place of
    /// its first character.
    static std::string UTCtime2str(long moment);
    /// UTC fields; 0 is the epoch.
    static std::string time2UTCStr(long moment);
    /// The fields as they are.
    static std::string time2UTCStr(const std::tm& fields);

    /// Now in local time as "20240105030405".
    static std::string getLocalTime();
    /// UTC fields; 0 is now.
    static std::tm longTime2TM(long moment);
    /// Seconds west of UTC of the process's time zone, which is read again.
    static long GetNMTimeZone();

    // -- the other way
    /// Reads "yyyymmddhhmmss", with ".d" and then "Z" for UTC, or "dd/mm/yyyy hh:mm:ss" with an
    /// optional "Z". The local broken-down time; of now, with `err` set, for a text that is none of
    /// these. Texts with an offset from UTC are none.
    static std::tm str2Time(std::string text, bool& err);
    /// Reads "year-month-day-hour-minute-second"; all fields 0 for another number of parts.
    static stDateTimeType convertStrToDateTimeType(const std::string& text);
    static std::string convertDateTimeTypeToStr(const stDateTimeType& time);
    /// Whether the fields are a time. Every fourth year has a 29 February; the year is not looked
    /// at otherwise.
    static bool checkDateTimeValid(const stDateTimeType& time);
    /// 0 when equal, 1 when `a` is later, 2 when `a` is earlier.
    static int compareDateTime(const stDateTimeType& a, const stDateTimeType& b);
};

class KELP_EXPORT KELP_Utils {
  public:
    /// Appends the parts of `text` between occurrences of the whole `delims`; characters of
    /// `delims` at the beginning of a part are passed over, so that no part is empty. An empty
    /// `delims` gives an empty part for every character.
    static void split(const std::string& text, const std::string& delims,
                      std::list<std::string>& parts);
};

}  // namespace NS_KELPCORBA
