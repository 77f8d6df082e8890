#pragma once

#include <kelp/util/mutex.h>

#include <optional>
#include <string>
#include <utility>

#include "screen/alarm_screen.h"

namespace kelp::nms {

/// The screen that the follower's threads fill and the terminal's thread shows. The operations may
/// be called from any thread.
class SharedScreen : public AlarmDisplay {
  public:
    explicit SharedScreen(AlarmScreen screen) : screen_(std::move(screen)) {}

    void changed(const AlarmChange& change) override;
    void notice(const Notice& notice) override;
    void stateIs(State state) override;
    void resynchronised(const AlarmView&) override {}

    void say(const std::string& sentence, bool isAlert);
    std::optional<AlarmScreen::Wish> pressed(const ScreenKey& key);
    /// The lines, or none if nothing has changed since the last call for this size.
    std::optional<ScreenFrame> newFrame(unsigned width, unsigned height);

  private:
    util::Mutex mutex_{util::LockRank::Leaf, "SharedScreen::mutex_"};
    AlarmScreen screen_ KELP_GUARDED_BY(mutex_);
    bool isNew_ KELP_GUARDED_BY(mutex_) = true;
    std::pair<unsigned, unsigned> size_ KELP_GUARDED_BY(mutex_){};
};

}  // namespace kelp::nms
