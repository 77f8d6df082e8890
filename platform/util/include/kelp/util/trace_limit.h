#pragma once

#include <kelp/util/export.h>
#include <kelp/util/trace_log.h>

#include <string>

namespace kelp::util {

// Lines of the trace that somebody without a log-in can cause. Of one place in the code and one
// source, the first ones of a minute are traced as they are; the others are counted and summarised
// in one line when the minute is over, so that a flood neither fills the trace nor drives older
// lines out of it.

/// Lines of one kind and source traced as they are within a minute; 20 before the first call.
KELP_EXPORT void setTraceLinesPerMinute(unsigned lines);

/// From here on all lines that the calling thread traces are limited; `source` is the address that
/// the thread works for.
KELP_EXPORT void limitTraceOfThread(const std::string& source) noexcept;
/// Ends that; harmless without it.
KELP_EXPORT void endTraceLimitOfThread() noexcept;

/// Traces a line that is limited whatever the thread: one that is about a peer but comes from a
/// library, so that what stands in it tells more than its place does. `kind` is what lines alike
/// have in common.
KELP_EXPORT void traceLimited(TraceLine line, const std::string& kind) noexcept;

/// What lines of one kind have in common when nothing else is known of them: the text without
/// numbers and quoted parts, cut.
KELP_EXPORT std::string shapeOf(const std::string& text);

}  // namespace kelp::util
