#pragma once

#include "report.h"

#include <kelp/nms/event_stream.h>

#include <functional>
#include <memory>
#include <mutex>

namespace kelp::nms {

/// Shows events as they come and knows when there have been enough.
class EventView : public EventListener {
  public:
    /// `whenOver` is called once: after so many events (0: no number), or when the EMS pushes no more.
    EventView(std::shared_ptr<Report> report, unsigned wanted, std::function<void(bool enough)> whenOver)
        : report_(std::move(report)), wanted_(wanted), whenOver_(std::move(whenOver)) {}

    void eventCame(const CosNotification::StructuredEvent& event) override;
    void eventsEnded() override { whenOver_(false); }

  private:
    const std::shared_ptr<Report> report_;
    const unsigned wanted_;
    const std::function<void(bool)> whenOver_;
    std::mutex mutex_;
    unsigned shown_ = 0;  ///< guarded by mutex_
};

}  // namespace kelp::nms
