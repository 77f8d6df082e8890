#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <string>

namespace NS_CORBA {

/// The per-thread trace record: where the next trace line comes from.
struct KELP_EXPORT TraceRecord {
    /// `file` is the subject's constant name ("sessionmgr"), `function` "unknown" by convention.
    void Set(const char* file, const char* function, int line);
    const char* file = "";
    const char* function = "unknown";
    int line = 0;
};

/// The calling thread's trace record.
KELP_EXPORT TraceRecord* GetTss();

/// Lifecycle events and errors. `format` is a printf format of this product's own; peers' texts
/// only as arguments.
KELP_EXPORT void TaTrace(const char* format, ...) __attribute__((format(printf, 1, 2)));
/// True when diagnostics of this level (0 to 3) are kept; for those whose text costs something to
/// make.
KELP_EXPORT bool IsDebugKept(int level);
/// A diagnostic, kept when `level` (0 to 3) is at most the configured level. `text` is no format.
KELP_EXPORT void TaDebug(int level, const char* text);
KELP_EXPORT void TaDebugWithPara(int level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
/// A caught CORBA exception: `text`, then the exception in words.
KELP_EXPORT void TaException(const CORBA::Exception& exception, const char* text);

/// Traces that an operation was entered and left (level 3), on construction and destruction.
class KELP_EXPORT FuncGuardTrace {
  public:
    explicit FuncGuardTrace(const char* operation);
    ~FuncGuardTrace();
    FuncGuardTrace(const FuncGuardTrace&) = delete;
    FuncGuardTrace& operator=(const FuncGuardTrace&) = delete;

  private:
    const char* operation_;
};

/// The module's use of the process's trace. The host opens the sinks; this counts who uses them.
class KELP_EXPORT CorbaLogMgr {
  public:
    static CorbaLogMgr* Instance();
    /// Opens the trace by the configured settings unless the host has done so. False, with the
    /// reason on standard error, when a sink cannot be opened.
    bool Init();
    /// Ends the use; lines traced afterwards still reach the host's sinks. Harmless when there was
    /// no Init.
    static void Destroy();

  private:
    CorbaLogMgr() = default;
};

}  // namespace NS_CORBA
