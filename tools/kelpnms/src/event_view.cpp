#include "event_view.h"

namespace kelp::nms {

void EventView::eventCame(const CosNotification::StructuredEvent& event) {
    bool isLast = false;
    {
        // an event is shown before the next one is counted, so that the last one is the last line
        const std::lock_guard lock(mutex_);
        if (wanted_ != 0 && shown_ >= wanted_)
            return;
        report_->notification(event);
        isLast = ++shown_ == wanted_;
    }
    if (isLast)
        whenOver_(true);
}

}  // namespace kelp::nms
