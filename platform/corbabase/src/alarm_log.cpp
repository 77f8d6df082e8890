#include "alarm_log.h"

#include <kelp/corbabase/time_text.h>
#include <kelp/corbabase/trace.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <exception>
#include <utility>

namespace NS_CORBA {

namespace {
constexpr std::size_t kFileBytesMax = 20u << 20;
constexpr std::size_t kFilesMax = 10;
}  // namespace

struct AlarmLog::State {
    explicit State(const std::filesystem::path& file) : sink(file.string(), kFileBytesMax, kFilesMax) {
        sink.set_formatter(std::make_unique<spdlog::pattern_formatter>("%v"));
    }
    spdlog::sinks::rotating_file_sink_st sink;
    bool fails = false;
};

AlarmLog::AlarmLog(const std::filesystem::path& file) {
    if (file.has_parent_path())
        std::filesystem::create_directories(file.parent_path());
    state_ = std::make_unique<State>(file);
}

AlarmLog::~AlarmLog() = default;

void AlarmLog::write(const std::string& entries) {
    try {
        const std::string text =
            "alarm taken in at " + ConfiguredTimeText(std::time(nullptr)) + "\n" + entries;
        state_->sink.log(spdlog::details::log_msg("", spdlog::level::info, text));
        state_->sink.flush();
        state_->fails = false;
    } catch (const std::exception& failure) {
        if (std::exchange(state_->fails, true))
            return;
        GetTss()->Set("alarmlog", "unknown", __LINE__);
        TaTrace("[AlarmLog::write] The alarm log cannot be written: %s", failure.what());
    }
}

}  // namespace NS_CORBA
