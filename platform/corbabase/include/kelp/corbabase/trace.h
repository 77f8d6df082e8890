#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <string>

namespace NS_CORBA {

/// The trace record of a thread: the source of its next trace line.
struct KELP_EXPORT TraceRecord {
    /// `file` is the constant name of the subject, for example "sessionmgr". `function` is
    /// "unknown" by convention.
    void Set(const char* file, const char* function, int line);
    const char* file = "";
    const char* function = "unknown";
    int line = 0;
};

/// The calling thread's trace record.
KELP_EXPORT TraceRecord* GetTss();

/// Record the source of the thread's next trace line: the constant name of the subject, and the
/// caller's line number.
inline void tracePoint(const char* subject, int line = __builtin_LINE()) {
    GetTss()->Set(subject, "unknown", line);
}

/// Trace a lifecycle event or an error. `format` is a printf format written in this product; text
/// from peers is passed only as an argument.
KELP_EXPORT void TaTrace(const char* format, ...) __attribute__((format(printf, 1, 2)));
/// True when diagnostics of this level (0 to 3) are kept. Check it before building an expensive
/// text.
KELP_EXPORT bool IsDebugKept(int level);
/// Trace a diagnostic, which is kept when `level` (0 to 3) is at most the configured level. `text`
/// is not a format.
KELP_EXPORT void TaDebug(int level, const char* text);
KELP_EXPORT void TaDebugWithPara(int level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
/// Trace a caught CORBA exception: `text`, followed by a description of the exception.
KELP_EXPORT void TaException(const CORBA::Exception& exception, const char* text);

/// Traces at level 3 that an operation was entered (constructor) and left (destructor).
class KELP_EXPORT FuncGuardTrace {
  public:
    explicit FuncGuardTrace(const char* operation);
    ~FuncGuardTrace();
    FuncGuardTrace(const FuncGuardTrace&) = delete;
    FuncGuardTrace& operator=(const FuncGuardTrace&) = delete;

  private:
    const char* operation_;
};

/// Counts the module's uses of the process's trace. The host opens the sinks.
class KELP_EXPORT CorbaLogMgr {
  public:
    static CorbaLogMgr* Instance();
    /// Open the trace with the configured settings unless the host has done so. False, with the
    /// reason on standard error, when a sink cannot be opened.
    bool Init();
    /// End one use. Lines traced afterwards still reach the host's sinks. Does nothing without an
    /// Init.
    static void Destroy();

  private:
    CorbaLogMgr() = default;
};

}  // namespace NS_CORBA
