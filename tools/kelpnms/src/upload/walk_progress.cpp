#include "upload/walk_progress.h"

#include "app/report.h"

namespace kelp::nms {

namespace {

constexpr std::chrono::milliseconds kShowEvery{100};

}  // namespace

void WalkProgress::stageBegins(WalkPosition::Stage stage) {
    const util::MutexLock lock(mutex_);
    position_.stage = stage;
    position_.written = 0;
}

void WalkProgress::elementBegins(const std::string& element) {
    ++elementsBegun_;
    nextIs(element);
}

void WalkProgress::nextIs(const std::string& element) {
    const util::MutexLock lock(mutex_);
    position_.next = element;
    position_.writtenOfNext = 0;
}

void WalkProgress::listBegins(std::optional<std::uint64_t> entries) {
    expected_ = entries;
    ofList_ = 0;
}

void WalkProgress::entryWritten() {
    ++ofList_;
    const util::MutexLock lock(mutex_);
    ++position_.written;
    if (position_.stage == WalkPosition::Stage::OfElement)
        ++position_.writtenOfNext;
}

void WalkProgress::batchWritten() {
    if (const auto now = std::chrono::steady_clock::now(); now - shown_ >= kShowEvery) {
        shown_ = now;
        const WalkPosition at = position();
        if (at.stage == WalkPosition::Stage::OfElement)
            bar_.show(elementsBegun_ - 1, elements_, std::to_string(at.written));
        else
            // if the list's length is unknown, show 0 %
            bar_.show(expected_ ? ofList_ : 0, expected_.value_or(1), std::to_string(ofList_));
    }
}

void WalkProgress::hideBar() {
    bar_.hide();
    shown_ = {};
}

void WalkProgress::tell(const std::string& text) {
    hideBar();
    Report::error(text);
}

void WalkProgress::interrupt() {
    const util::MutexLock lock(mutex_);
    interrupted_ = true;
}

void WalkProgress::checkInterrupt() {
    const util::MutexLock lock(mutex_);
    if (interrupted_)
        throw Interrupted();
}

WalkPosition WalkProgress::position() {
    const util::MutexLock lock(mutex_);
    return position_;
}

}  // namespace kelp::nms
