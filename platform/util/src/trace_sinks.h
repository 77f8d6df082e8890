#pragma once

#include <kelp/util/trace_log.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace kelp::util {

/// A line with what only the thread that traced it knows.
struct StampedLine {
    TraceLine line;
    std::chrono::system_clock::time_point time;
    int threadId = 0;  ///< as the kernel numbers threads
};

/// The line as console and file show it, without a line end: time (UTC), thread, kind, source,
/// operation, text.
std::string formatted(const StampedLine& stamped);

/// Where the writer thread puts lines. Used by that thread alone. Operations throw std::exception
/// when the medium fails.
class TraceSink {
  public:
    virtual ~TraceSink() = default;
    virtual void write(const StampedLine& stamped) = 0;
    virtual void flush() = 0;
    virtual const std::string& name() const = 0;
};

std::unique_ptr<TraceSink> consoleSink();

/// The sinks of the settings; a sink that cannot be opened is left out and told in `whyNot`.
std::vector<std::unique_ptr<TraceSink>> openSinks(const TraceSettings& settings,
                                                  std::string& whyNot);

/// Writes one line to standard error, at once.
void writeToStandardError(const StampedLine& stamped);

}  // namespace kelp::util
