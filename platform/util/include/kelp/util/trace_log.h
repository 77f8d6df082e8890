#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace kelp::util {

/// How much a line matters. Diagnostics carry a level of their own (0 to 3) and are kept when that is at most
/// the configured level.
enum class TraceKind { Trace, Debug, Exception };

/// One line on its way to the sinks.
struct KELP_EXPORT TraceLine {
    TraceKind kind = TraceKind::Trace;
    int level = 0;                ///< of a Debug line, 0 to 3
    std::string file;             ///< source subject, such as "sessionmgr"
    std::string function;         ///< "unknown" by convention
    int line = 0;
    std::string operation;        ///< operation of the request in hand, empty outside one
    std::string text;             ///< already formatted; control characters are escaped by the log
};

/// Where trace lines go and how they are kept.
struct KELP_EXPORT TraceSettings {
    bool console = true;
    bool journal = false;
    std::string file;                        ///< empty: no file
    std::size_t fileBytesMax = 20u << 20;    ///< a file is rotated above this size
    std::size_t filesMax = 10;
    int level = 1;                           ///< highest debug level kept, 0 to 3
};

/// The process's trace: writes lines to console, rotating file and journal by a thread of its own through a bounded
/// queue, so that no request waits for a disk. When the queue is full the oldest line goes and the loss is counted
/// and told in a later line. All operations may be called from any thread at any time; a log that is not open
/// sends lines to standard error.
class KELP_EXPORT TraceLog {
  public:
    static TraceLog& instance();

    /// Opens the sinks; called again it replaces them. False, with the reason, when a sink cannot be opened
    /// (the log then writes to the console).
    bool open(const TraceSettings& settings, std::string& whyNot);
    /// Writes what is queued and closes the sinks. A closed log may be opened again.
    void close();

    void setLevel(int level);
    int level() const;

    void write(TraceLine line);

    /// Calls `listener` with every kept line, on the writing thread, before it is queued; for tests and the
    /// admin interface. Returns a handle for removeListener.
    int addListener(std::function<void(const TraceLine&)> listener);
    void removeListener(int handle);

    /// Lines dropped since the process began because the queue was full.
    std::uint64_t dropped() const;

  private:
    TraceLog() = default;
};

/// The text with control characters and line ends escaped (\n, \r, \t, \xNN) and cut at `bytesMax`; for anything that a
/// peer wrote.
KELP_EXPORT std::string escaped(const std::string& text, std::size_t bytesMax = 4096);

}  // namespace kelp::util
