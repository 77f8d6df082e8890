#include "events/alarm_log.h"

#include <kelp/corbabase/time_text.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/private_file.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <exception>
#include <utility>

namespace NS_CORBA {

namespace {
constexpr std::size_t kFileBytesMax = 20u << 20;
constexpr std::size_t kFilesMax = 10;
spdlog::file_event_handlers privateFiles() {
    spdlog::file_event_handlers handlers;
    handlers.before_open = [](const spdlog::filename_t& file) {
        kelp::util::requirePrivateFile(file);
    };
    return handlers;
}

}  // namespace

struct AlarmLog::State {
    explicit State(const std::filesystem::path& file)
        : sink(file.string(), kFileBytesMax, kFilesMax, false, privateFiles()) {
        sink.set_formatter(std::make_unique<spdlog::pattern_formatter>("%v"));
    }
    spdlog::sinks::rotating_file_sink_st sink;
    bool fails = false;
    std::size_t missing = 0;
};

namespace {

/// Run `body`, which writes to the file. On failure return false, traced once until a write
/// succeeds.
template <class Body>
bool written(bool& fails, Body body) {
    try {
        body();
        fails = false;
        return true;
    } catch (const std::exception& failure) {
        if (!std::exchange(fails, true)) {
            tracePoint("alarmlog");
            TaTrace("[AlarmLog] The alarm log cannot be written: %s", failure.what());
        }
        return false;
    }
}

}  // namespace

AlarmLog::AlarmLog(const std::filesystem::path& file) : state_(std::make_unique<State>(file)) {}

AlarmLog::~AlarmLog() = default;

void AlarmLog::append(const std::string& text) {
    state_->sink.log(spdlog::details::log_msg("", spdlog::level::info, text));
}

void AlarmLog::appendMissing() {
    if (state_->missing == 0)
        return;
    append("alarms missing here: " + std::to_string(state_->missing) + "\n");
    state_->missing = 0;
}

void AlarmLog::write(std::time_t accepted, const std::string& entries) {
    const bool isWritten = written(state_->fails, [&] {
        appendMissing();
        append("alarm taken in at " + ConfiguredTimeText(accepted) + "\n" + entries);
    });
    if (!isWritten)
        ++state_->missing;
}

void AlarmLog::missing(std::size_t alarms) {
    state_->missing += alarms;
}

void AlarmLog::flush() {
    written(state_->fails, [&] {
        appendMissing();
        state_->sink.flush();
    });
}

}  // namespace NS_CORBA
