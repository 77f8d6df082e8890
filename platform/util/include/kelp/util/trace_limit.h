#pragma once

#include <kelp/util/export.h>
#include <kelp/util/trace_log.h>

#include <string>

namespace kelp::util {

// Limits the trace lines that a caller without a log-in can cause. The first lines from one place
// in the code and one source within a minute are traced as they are. The others are counted and
// summarised in one line when the minute is over. So a flood neither fills the trace nor displaces
// older lines.

/// Set the number of lines that are traced as they are for one place and source within a minute.
/// Default: 20.
KELP_EXPORT void setTraceLinesPerMinute(unsigned lines);

/// Limit all lines that the calling thread traces from now on. `source` is the address of the
/// caller that the thread serves.
KELP_EXPORT void limitTraceOfThread(const std::string& source) noexcept;
/// End the limit. Does nothing if there is none.
KELP_EXPORT void endTraceLimitOfThread() noexcept;

/// Trace a line that is limited on every thread. For lines from a library about a peer: their text
/// distinguishes them better than the place in the code. Lines with the same `kind` are counted
/// together.
KELP_EXPORT void traceLimited(TraceLine line, const std::string& kind) noexcept;

/// The `kind` for lines of which only the text is known: the text without numbers and quoted parts,
/// truncated.
KELP_EXPORT std::string shapeOf(const std::string& text);

}  // namespace kelp::util
