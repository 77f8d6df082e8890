#include "trace_floods.h"

#include <kelp/util/trace_limit.h>

#include <cctype>
#include <memory>
#include <utility>

namespace kelp::util {

namespace {

constexpr std::size_t kSampleBytes = 200;
constexpr std::size_t kShapeBytes = 80;
constexpr std::chrono::seconds kLook{1};

/// The limit of the calling thread's lines.
struct ThreadLimit {
    bool isLimited = false;
    std::string source;
    const std::string* kind = nullptr;  ///< set during traceLimited()
};

ThreadLimit& threadLimit() {
    thread_local ThreadLimit limit;
    return limit;
}

std::string nameOf(const TraceLine& line, const ThreadLimit& limit) {
    if (limit.kind != nullptr)
        return *limit.kind;
    const std::string place = line.file + ":" + std::to_string(line.line);
    return line.line != 0 ? place : place + " " + shapeOf(line.text);
}

std::string clockText(std::chrono::sys_time<std::chrono::milliseconds> moment) {
    const auto time = std::chrono::floor<std::chrono::seconds>(moment);
    const std::chrono::hh_mm_ss clock(time - std::chrono::floor<std::chrono::days>(time));
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02dZ", static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

}  // namespace

TraceFloods& TraceFloods::instance() {
    static TraceFloods* const made = new TraceFloods;
    return *made;
}

void TraceFloods::setLinesPerMinute(unsigned lines) {
    const MutexLock lock(mutex_);
    floods_.setIndividually(lines);
    ofSource_.setIndividually(kKindsWorth * lines);
}

bool TraceFloods::standsByItself(const TraceLine& line, Time now) {
    const ThreadLimit& limit = threadLimit();
    if (!limit.isLimited && limit.kind == nullptr)
        return true;
    const Kind kind{nameOf(line, limit), line.text.substr(0, kSampleBytes)};
    const auto when =
        std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
    const MutexLock lock(mutex_);
    return floods_.standsByItself(kind, limit.source, when, now) &&
           ofSource_.standsByItself({"any", "lines of many kinds"}, limit.source, when, now);
}

std::vector<std::string> TraceFloods::takeDue(Time now) {
    const MutexLock lock(mutex_);
    if (now < nextLook_)
        return {};
    nextLook_ = now == Time::max() ? Time{} : now + kLook;
    std::vector<std::string> texts = textsOf(floods_.take(now));
    for (std::string& each : textsOf(ofSource_.take(now)))
        texts.push_back(std::move(each));
    return texts;
}

std::vector<std::string> TraceFloods::takeAll() {
    return takeDue(Time::max());
}

std::vector<std::string> TraceFloods::textsOf(const std::vector<Floods::Summary>& summaries) {
    std::vector<std::string> texts;
    texts.reserve(summaries.size());
    for (const Floods::Summary& each : summaries)
        texts.push_back(std::to_string(each.count) + " more line(s) like this" +
                        (each.source.empty() ? "" : " because of " + each.source) + " from " +
                        clockText(each.first) + " to " + clockText(each.last) + ": " +
                        each.kind.sample);
    return texts;
}

void limitTraceOfThread(const std::string& source) noexcept {
    ThreadLimit& limit = threadLimit();
    limit.isLimited = true;
    try {
        limit.source = source;
    } catch (const std::bad_alloc&) {
        limit.source.clear();
    }
}

void endTraceLimitOfThread() noexcept {
    ThreadLimit& limit = threadLimit();
    limit.isLimited = false;
    limit.source.clear();
}

void traceLimited(TraceLine line, const std::string& kind) noexcept {
    ThreadLimit& limit = threadLimit();
    limit.kind = &kind;
    TraceLog::instance().write(std::move(line));
    limit.kind = nullptr;
}

void setTraceLinesPerMinute(unsigned lines) {
    TraceFloods::instance().setLinesPerMinute(lines);
}

std::string shapeOf(const std::string& text) {
    std::string shape;
    char quote = 0;
    for (const char each : text) {
        if (quote != 0) {
            quote = each == quote ? '\0' : quote;
            continue;
        }
        if (each == '"' || each == '\'')
            quote = each;
        if (std::isdigit(static_cast<unsigned char>(each)) == 0)
            shape += each;
        if (shape.size() == kShapeBytes)
            break;
    }
    return shape;
}

}  // namespace kelp::util
