#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace kelp::util {

/// How much a line matters. Diagnostics carry a level of their own (0 to 3) and are kept when that
/// is at most the configured level.
enum class TraceKind { Trace, Debug, Exception };

/// One line on its way to the sinks.
struct KELP_EXPORT TraceLine {
    TraceKind kind = TraceKind::Trace;
    int level = 0;         ///< of a Debug line, 0 to 3
    std::string file;      ///< source subject, such as "sessionmgr"
    std::string function;  ///< "unknown" by convention
    int line = 0;
    std::string operation;  ///< operation of the request in hand, empty outside one
    std::string text;       ///< already formatted; control characters are escaped by the log
};

/// Where trace lines go and how they are kept.
struct KELP_EXPORT TraceSettings {
    bool console = true;
    bool journal = false;
    std::string file;                      ///< empty: no file
    std::size_t fileBytesMax = 20u << 20;  ///< a file is rotated above this size
    std::size_t filesMax = 10;             ///< files kept, the current one included
    int level = 1;                         ///< highest debug level kept, 0 to 3
};

/// The process's trace: writes lines to console, rotating file and journal by a thread of its own
/// through a bounded queue, so that no request waits for a disk. When the queue is full the oldest
/// line goes and the loss is counted and told in a later line. All operations may be called from
/// any thread at any time; a log that is not open sends lines to standard error.
class KELP_EXPORT TraceLog {
  public:
    static TraceLog& instance();

    /// Opens the sinks; called again it replaces them. False, with the reason, when a sink cannot
    /// be opened (the log then writes to the console).
    bool open(const TraceSettings& settings, std::string& whyNot);
    /// Writes what is queued and closes the sinks; a sink that hangs is given up after 5 s. A
    /// closed log may be opened again. Happens by itself when the process exits.
    void close();

    bool isOpen() const;

    /// Clamped to 0..3.
    void setLevel(int level);
    int level() const;

    /// Keeps a line, unless it is a diagnostic above the level. Never throws and never waits for a
    /// disk while the log is open. A line without an operation gets that of the calling thread's
    /// NS_UTIL::ThreadContextMgr record.
    void write(TraceLine line) noexcept;

    /// Calls `listener` with every kept line as the sinks get it (escaped, cut), on the thread that
    /// traced it and before it is queued; one call of a listener at a time. What a listener traces
    /// reaches no listener. For tests and the admin interface. Returns a handle for removeListener.
    int addListener(std::function<void(const TraceLine&)> listener);
    /// Returns after a running call has ended (at once when called from the listener itself); it is
    /// not called afterwards.
    void removeListener(int handle);

    /// Lines dropped since the process began because the queue was full.
    std::uint64_t dropped() const;

  private:
    TraceLog() = default;
};

/// Writes one line of the platform's own: `file` is the subject's name, the function "unknown".
KELP_EXPORT void traceFrom(const std::string& file, const std::string& text,
                           TraceKind kind = TraceKind::Trace) noexcept;

/// The text with control characters, line ends and bytes that are no UTF-8 escaped (\n, \r, \t,
/// \xNN), and cut so that the result has at most `bytesMax` bytes (a cut one ends in "..."); for
/// anything that a peer wrote. Escaping twice is harmless.
KELP_EXPORT std::string escaped(const std::string& text, std::size_t bytesMax = 4096);

}  // namespace kelp::util
