#include "screen/shared_screen.h"

namespace kelp::nms {

void SharedScreen::changed(const AlarmChange& change) {
    const util::MutexLock lock(mutex_);
    screen_.changed(change);
    isNew_ = true;
}

void SharedScreen::notice(const Notice& notice) {
    const util::MutexLock lock(mutex_);
    screen_.notice(notice);
    isNew_ = true;
}

void SharedScreen::stateIs(State state) {
    const util::MutexLock lock(mutex_);
    screen_.stateIs(state);
    isNew_ = true;
}

void SharedScreen::say(const std::string& sentence, bool isAlert) {
    const util::MutexLock lock(mutex_);
    screen_.say(sentence, isAlert);
    isNew_ = true;
}

std::optional<AlarmScreen::Wish> SharedScreen::pressed(const ScreenKey& key) {
    const util::MutexLock lock(mutex_);
    isNew_ = true;
    return screen_.pressed(key);
}

std::optional<ScreenFrame> SharedScreen::newFrame(unsigned width, unsigned height) {
    const util::MutexLock lock(mutex_);
    const std::pair size{width, height};
    if (!std::exchange(isNew_, false) && size == size_)
        return std::nullopt;
    size_ = size;
    return screen_.frame(width, height);
}

}  // namespace kelp::nms
