#pragma once

#include "alarms/alarm_view.h"
#include "app/notice.h"

namespace kelp::nms {

/// Shows what becomes of the alarms. AlarmFollow calls it under its lock, one call at a time.
class AlarmDisplay {
  public:
    enum class State {
        Connecting,
        Reading,   ///< the list is being read
        InStep,    ///< the view is the EMS's list
        Uncertain  ///< connected, but the EMS has lost events
    };

    virtual ~AlarmDisplay() = default;
    /// What a change in the view is; never Nothing.
    virtual void changed(const AlarmChange& change) = 0;
    virtual void notice(const Notice& notice) = 0;
    virtual void stateIs(State state) = 0;
    /// A read is complete: the view is the EMS's list.
    virtual void resynchronised(const AlarmView& view) = 0;
};

}  // namespace kelp::nms
