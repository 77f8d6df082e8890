#pragma once

#include <kelp/util/trace_log.h>

#include <string>
#include <utility>

namespace kelp::orb {

inline util::TraceLine traceLine(util::TraceKind kind, std::string text) {
    util::TraceLine line;
    line.kind = kind;
    line.file = "orb";
    line.function = "unknown";
    line.text = std::move(text);
    return line;
}

/// Write a line to the process's trace.
inline void trace(util::TraceKind kind, std::string text) {
    util::TraceLog::instance().write(traceLine(kind, std::move(text)));
}

inline void traceException(std::string text) {
    trace(util::TraceKind::Exception, std::move(text));
}

}  // namespace kelp::orb
