#include "alarms/alarm_link.h"

#include <algorithm>

namespace kelp::nms {

namespace {

/// A read that ends in doubt is repeated at once, but not more often than this.
constexpr unsigned kReadsInARow = 3;
/// Pause after a read as a multiple of the time that it took, with its limits.
constexpr int kPauseFactor = 10;
constexpr std::chrono::milliseconds kPauseLeast{2000};
constexpr std::chrono::milliseconds kPauseMost{60000};

}  // namespace

AlarmLink::AlarmLink(std::unique_ptr<EmsEventLink> link, std::shared_ptr<AlarmFollow> follow,
                     std::uint32_t batch, std::function<bool()> isEnough)
    : link_(std::move(link)), follow_(std::move(follow)), isEnough_(std::move(isEnough)) {
    try {
        reader_ = std::make_unique<AlarmReader>(link_->session(), batch);
        read();
    } catch (const NmsError&) {
        try {
            link_->leave();
        } catch (const NmsError&) {
            // the failure of the reading says more
        }
        throw;
    }
}

void AlarmLink::check() {
    link_->check();
    if (wantsCheck())
        read();
}

void AlarmLink::read() {
    const auto begin = Clock::now();
    bool isDone = false;
    for (unsigned i = 0; !isDone && i < kReadsInARow && !isEnough_(); ++i)
        isDone = readOnce();
    if (!isDone)
        follow_->askForRead();
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    nextRead_ = Clock::now() + std::clamp(took * kPauseFactor, kPauseLeast, kPauseMost);
}

bool AlarmLink::readOnce() {
    follow_->beginRead();
    return reader_->read([this](const EventRecord& event) { follow_->listed(event); }, isEnough_) &&
           follow_->endRead();
}

}  // namespace kelp::nms
