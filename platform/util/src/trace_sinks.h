#pragma once

#include <kelp/util/trace_log.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace kelp::util {

/// A line with the facts that only the thread that traced it knows.
struct StampedLine {
    TraceLine line;
    std::chrono::system_clock::time_point time;
    int threadId = 0;  ///< the kernel's thread id
};

/// The line in the format of console and file, without a line end: time (UTC), thread, kind,
/// source, operation, text.
std::string formatted(const StampedLine& stamped);

/// A destination for lines. Only the writer's thread uses it. Its operations throw std::exception
/// if the medium fails.
class TraceSink {
  public:
    virtual ~TraceSink() = default;
    virtual void write(const StampedLine& stamped) = 0;
    virtual void flush() = 0;
    virtual const std::string& name() const = 0;
};

std::unique_ptr<TraceSink> consoleSink();

/// Open the sinks of the settings. A sink that cannot be opened is left out, and `whyNot` says why.
std::vector<std::unique_ptr<TraceSink>> openSinks(const TraceSettings& settings,
                                                  std::string& whyNot);

/// Write one line to standard error at once.
void writeToStandardError(const StampedLine& stamped);

}  // namespace kelp::util
