#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>
#include <kelp/util/thread_context.h>
#include <kelp/util/trace_log.h>

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <utility>

namespace NS_CORBA {

namespace {

using kelp::util::TraceKind;
using kelp::util::TraceLine;
using kelp::util::TraceLog;

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text;
    if (length < 0) {
        text = std::string("(unprintable) ") + format;
    } else {
        text.resize(static_cast<std::size_t>(length));
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

void write(TraceKind kind, int level, std::string text) {
    const TraceRecord* record = GetTss();
    TraceLine line;
    line.kind = kind;
    line.level = level;
    line.file = record->file;
    line.function = record->function;
    line.line = record->line;
    line.operation = NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext().GetInterfaceName();
    line.text = std::move(text);
    TraceLog::instance().write(std::move(line));
}

// Tracing must never disturb the traced code, even when memory runs out.
template <class Body>
void guarded(Body body) noexcept {
    try {
        body();
    } catch (const std::exception& failure) {
        std::fputs("a trace line is lost: ", stderr);
        std::fputs(failure.what(), stderr);
        std::fputs("\n", stderr);
    }
}

}  // namespace

bool IsDebugKept(int level) {
    return level <= TraceLog::instance().level();
}

TraceRecord* GetTss() {
    static thread_local TraceRecord record;
    return &record;
}

void TraceRecord::Set(const char* fileName, const char* functionName, int lineNumber) {
    file = fileName != nullptr ? fileName : "";
    function = functionName != nullptr ? functionName : "unknown";
    line = lineNumber;
}

void TaTrace(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    guarded([&] { write(TraceKind::Trace, 0, formatted(format, arguments)); });
    va_end(arguments);
}

void TaDebug(int level, const char* text) {
    if (!IsDebugKept(level))
        return;
    guarded([&] { write(TraceKind::Debug, level, text != nullptr ? text : ""); });
}

void TaDebugWithPara(int level, const char* format, ...) {
    if (!IsDebugKept(level))
        return;
    va_list arguments;
    va_start(arguments, format);
    guarded([&] { write(TraceKind::Debug, level, formatted(format, arguments)); });
    va_end(arguments);
}

void TaException(const CORBA::Exception& exception, const char* text) {
    guarded([&] {
        std::string line(text != nullptr ? text : "");
        line += ' ';
        line += kelp::orb::exceptionText(exception);
        write(TraceKind::Exception, 0, std::move(line));
    });
}

FuncGuardTrace::FuncGuardTrace(const char* operation)
    : operation_(operation != nullptr ? operation : "") {
    TaDebugWithPara(3, "[%s] entered", operation_);
}

FuncGuardTrace::~FuncGuardTrace() {
    TaDebugWithPara(3, "[%s] left", operation_);
}

}  // namespace NS_CORBA
