#include "trace_sinks.h"

#include <fmt/format.h>
#include <kelp/util/private_file.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace kelp::util {

namespace {

constexpr const char* kJournalSocket = "/run/systemd/journal/socket";

std::string kindText(const TraceLine& line) {
    switch (line.kind) {
        case TraceKind::Debug:
            return "DEBUG" + std::to_string(line.level);
        case TraceKind::Exception:
            return "EXCEPTION";
        case TraceKind::Trace:
            break;
    }
    return "TRACE";
}

class SpdlogSink : public TraceSink {
  public:
    SpdlogSink(std::string name, std::shared_ptr<spdlog::sinks::sink> sink)
        : name_(std::move(name)), sink_(std::move(sink)) {
        sink_->set_formatter(
            std::make_unique<spdlog::pattern_formatter>("%v", spdlog::pattern_time_type::utc));
    }
    void write(const StampedLine& stamped) override {
        const std::string text = formatted(stamped);
        sink_->log(spdlog::details::log_msg(stamped.time, spdlog::source_loc{}, "",
                                            spdlog::level::info, text));
    }
    void flush() override { sink_->flush(); }
    const std::string& name() const override { return name_; }

  private:
    const std::string name_;
    const std::shared_ptr<spdlog::sinks::sink> sink_;
};

class JournalSink : public TraceSink {
  public:
    JournalSink() {
        if (::access(kJournalSocket, W_OK) != 0)
            throw std::system_error(errno, std::generic_category(), kJournalSocket);
    }
    void write(const StampedLine& stamped) override {
        const TraceLine& line = stamped.line;
        const int priority = line.kind == TraceKind::Exception ? LOG_WARNING
                             : line.kind == TraceKind::Debug   ? LOG_DEBUG
                                                               : LOG_INFO;
        const std::string fields[] = {
            "MESSAGE=" + line.text,        "PRIORITY=" + std::to_string(priority),
            "CODE_FILE=" + line.file,      "CODE_LINE=" + std::to_string(line.line),
            "CODE_FUNC=" + line.function,  "KELP_OPERATION=" + line.operation,
            "KELP_KIND=" + kindText(line), "TID=" + std::to_string(stamped.threadId)};
        iovec parts[std::size(fields)];
        std::transform(std::begin(fields), std::end(fields), std::begin(parts),
                       [](const std::string& field) {
                           return iovec{const_cast<char*>(field.data()), field.size()};
                       });
        const int result = sd_journal_sendv(parts, static_cast<int>(std::size(parts)));
        if (result < 0)
            throw std::system_error(-result, std::generic_category(), "sd_journal_sendv");
    }
    void flush() override {}
    const std::string& name() const override { return name_; }

  private:
    const std::string name_ = "journal";
};

std::unique_ptr<TraceSink> fileSink(const TraceSettings& settings) {
    const std::size_t rotatedFiles = settings.filesMax > 0 ? settings.filesMax - 1 : 0;
    spdlog::file_event_handlers handlers;
    handlers.before_open = [](const spdlog::filename_t& file) { requirePrivateFile(file); };
    return std::make_unique<SpdlogSink>(
        "file " + settings.file,
        std::make_shared<spdlog::sinks::rotating_file_sink_st>(settings.file, settings.fileBytesMax,
                                                               rotatedFiles, false, handlers));
}

template <class Make>
void openOne(std::vector<std::unique_ptr<TraceSink>>& sinks, const std::string& name,
             std::string& whyNot, Make make) {
    try {
        sinks.push_back(make());
    } catch (const std::exception& ex) {
        whyNot += (whyNot.empty() ? "" : "; ") + ("trace sink " + name + " cannot be opened: ") +
                  ex.what();
    }
}

}  // namespace

std::string formatted(const StampedLine& stamped) {
    const auto sinceEpoch =
        std::chrono::duration_cast<std::chrono::milliseconds>(stamped.time.time_since_epoch());
    const std::time_t seconds = static_cast<std::time_t>(sinceEpoch.count() / 1000);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    const TraceLine& line = stamped.line;
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z {} {} {}:{} {}{}{} {}",
                       utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                       utc.tm_sec, sinceEpoch.count() % 1000, stamped.threadId, kindText(line),
                       line.file, line.line, line.function,
                       line.operation.empty() ? "" : " op=", line.operation, line.text);
}

std::unique_ptr<TraceSink> consoleSink() {
    return std::make_unique<SpdlogSink>("console",
                                        std::make_shared<spdlog::sinks::stderr_sink_st>());
}

std::vector<std::unique_ptr<TraceSink>> openSinks(const TraceSettings& settings,
                                                  std::string& whyNot) {
    std::vector<std::unique_ptr<TraceSink>> sinks;
    if (settings.console)
        openOne(sinks, "console", whyNot, consoleSink);
    if (settings.journal)
        openOne(sinks, "journal", whyNot, [] { return std::make_unique<JournalSink>(); });
    if (!settings.file.empty())
        openOne(sinks, "file", whyNot, [&] { return fileSink(settings); });
    return sinks;
}

void writeToStandardError(const StampedLine& stamped) {
    const std::string text = formatted(stamped) + "\n";
    std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace kelp::util
