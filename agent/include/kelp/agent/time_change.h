#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <ctime>
#include <list>
#include <string>

namespace NS_KELPCORBA {

/// A calendar time in separate fields. Only checkDateTimeValid checks them.
struct KELP_EXPORT stDateTimeType {
    std::uint16_t year = 0;    ///< full year
    std::uint16_t month = 0;   ///< 1 to 12
    std::uint16_t day = 0;     ///< 1 to 31
    std::uint16_t hour = 0;    ///< 0 to 23
    std::uint16_t minute = 0;  ///< 0 to 59
    std::uint16_t second = 0;  ///< 0 to 59
};

/// Converts all times that an NMS reads or sends as text (TMF 814 Time_T: "yyyyMMddhhmmss.s[Z]"),
/// in the layout and time reference of the `[time]` configuration. A moment is in seconds since the
/// epoch. An invalid time throws nothing: a moment that cannot be converted counts as now, and the
/// text of fields that cannot be printed is empty. Reentrant.
class KELP_EXPORT TimeChange {
  public:
    // -- configured layout
    static std::string time2strByConf(const std::tm& fields);
    /// A moment of 0 means now.
    static std::string time2strByConf(long moment);
    /// Convert a text in any layout that str2Time accepts to the configured one. Empty for an
    /// unreadable text.
    static std::string time2strByConf(const std::string& text);
    /// The time now plus an offset in seconds.
    static std::string getEMSTimeByNETime(unsigned long offset);
    /// The time now, in local time.
    static std::string getTime();
    static std::string time2str(const std::tm& fields);
    /// In local time. A moment of 0 is the epoch.
    static std::string time2str(long moment);
    /// Also in local time, despite the name.
    static std::string time2GMStr(long moment);
    static std::string getUTCTime();
    static std::string localTime2UTCstr(long moment);
    static std::string localTime2UTCstr(std::tm fields);

    // -- "20240105030405.0Z"
    /// Local time in the layout of UTC. When the text is not 17 characters long a blank replaces
    /// its first character.
    static std::string UTCtime2str(long moment);
    /// In UTC. A moment of 0 is the epoch.
    static std::string time2UTCStr(long moment);
    /// The fields are printed unchanged.
    static std::string time2UTCStr(const std::tm& fields);

    /// The time now in local time, as "20240105030405".
    static std::string getLocalTime();
    /// Fields in UTC. A moment of 0 means now.
    static std::tm longTime2TM(long moment);
    /// Read the process's time zone again and return its offset in seconds west of UTC.
    static long GetNMTimeZone();

    // -- from text
    /// Read "yyyymmddhhmmss", optionally followed by ".d", or by ".dZ" for UTC; or "dd/mm/yyyy
    /// hh:mm:ss", optionally followed by "Z". Return the fields in local time. For any other text,
    /// including one with an offset from UTC, set `err` and return the time now. Otherwise clear
    /// `err`.
    static std::tm str2Time(std::string text, bool& err);
    /// Read "year-month-day-hour-minute-second". All fields are 0 when the number of parts is not
    /// six.
    static stDateTimeType convertStrToDateTimeType(const std::string& text);
    static std::string convertDateTimeTypeToStr(const stDateTimeType& time);
    /// Whether the fields are a valid time. Every fourth year has a 29 February. The year is not
    /// checked otherwise.
    static bool checkDateTimeValid(const stDateTimeType& time);
    /// Return 0 when they are equal, 1 when `a` is later, 2 when `a` is earlier.
    static int compareDateTime(const stDateTimeType& a, const stDateTimeType& b);
};

/// Helpers for texts.
class KELP_EXPORT KELP_Utils {
  public:
    /// Append the parts of `text` between occurrences of the whole `delims`. Characters of `delims`
    /// at the beginning of a part are skipped, so no part is empty. An empty `delims` gives an
    /// empty part for every character.
    static void split(const std::string& text, const std::string& delims,
                      std::list<std::string>& parts);
};

}  // namespace NS_KELPCORBA
