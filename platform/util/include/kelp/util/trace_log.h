#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace kelp::util {

/// The kind of a line. Debug lines also have a level (0 to 3) and are kept if it is at most the
/// configured level.
enum class TraceKind { Trace, Debug, Exception };

/// One line of the trace.
struct KELP_EXPORT TraceLine {
    TraceKind kind = TraceKind::Trace;
    int level = 0;         ///< of a Debug line, 0 to 3
    std::string file;      ///< source subject, such as "sessionmgr"
    std::string function;  ///< "unknown" by convention
    int line = 0;
    std::string operation;  ///< operation of the current request, empty outside a request
    std::string text;       ///< complete text; the log escapes control characters
};

/// Where trace lines go and how they are kept.
struct KELP_EXPORT TraceSettings {
    bool console = true;
    bool journal = false;
    std::string file;                      ///< path of the file; empty: no file
    std::size_t fileBytesMax = 20u << 20;  ///< 20 MiB; a larger file is rotated
    std::size_t filesMax = 10;             ///< number of files kept, including the current one
    int level = 1;                         ///< highest level of debug lines that are kept, 0 to 3
};

/// The trace of the process. A separate thread writes the lines to the console, a rotating file and
/// the journal. Lines wait in a bounded queue, so that no request waits for a disk. If the queue is
/// full the oldest line is dropped; a later line reports how many were dropped. Any thread may call
/// any operation at any time. While the log is not open, lines go to standard error.
class KELP_EXPORT TraceLog {
  public:
    static TraceLog& instance();

    /// Open the sinks. A second call replaces them. Returns false and the reason if a sink cannot
    /// be opened; the log then writes to the console.
    bool open(const TraceSettings& settings, std::string& whyNot);
    /// Write the queued lines and close the sinks. A sink that hangs is abandoned after 5 s. A
    /// closed log may be opened again. Called automatically when the process exits.
    void close();

    bool isOpen() const;

    /// The level is limited to 0..3.
    void setLevel(int level);
    int level() const;

    /// Queue a line, unless it is a debug line above the level. Never throws, and never waits for a
    /// disk while the log is open. If the line has no operation, it gets that of the calling
    /// thread's NS_UTIL::ThreadContextMgr record.
    void write(TraceLine line) noexcept;

    /// Call `listener` for every line that is kept, in the form that the sinks get (escaped and
    /// truncated). The call is made on the thread that traced the line, before the line is queued.
    /// A listener is called by one thread at a time. Lines that a listener traces are not passed to
    /// listeners. For tests and the admin interface. Returns a handle for removeListener().
    int addListener(std::function<void(const TraceLine&)> listener);
    /// Remove a listener. Waits for a running call to end, unless called from the listener itself.
    /// After that the listener is not called again.
    void removeListener(int handle);

    /// Number of lines dropped because the queue was full, since the process began.
    std::uint64_t dropped() const;

  private:
    TraceLog() = default;
};

/// Write one line of the platform itself: `file` is the subject, and the function is "unknown".
KELP_EXPORT void traceFrom(const std::string& file, const std::string& text,
                           TraceKind kind = TraceKind::Trace) noexcept;

/// Escape control characters, line ends and bytes that are not UTF-8 (`\n`, `\r`, `\t`, `\xNN`),
/// and truncate the result to at most `bytesMax` bytes (a truncated text ends in "..."). For any
/// text that comes from a peer. Escaping an escaped text changes nothing.
KELP_EXPORT std::string escaped(const std::string& text, std::size_t bytesMax = 4096);

}  // namespace kelp::util
