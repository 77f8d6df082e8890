// A bundle that reports event losses as an alarm source does, through the session manager's
// exported calls. The test writes the reports to the FIFO named by KELP_TEST_EVENT_LOSS, one a
// line:
// occurred START_TIME NOTIFICATION_ID
// cleared END_TIME

#include <ace/svc_export.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/bundlemgr/service_object.h>

#include <sstream>
#include <string>

#include "fifo_commands.h"

namespace kelp::test {

class EventLossSwitch final : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    EventLossSwitch() : ServiceObjectBase("event_loss_switch_bundle", "event_loss_switch") {}

    int init(int, char*[]) override {
        return commands_.start("KELP_TEST_EVENT_LOSS", report) ? 0 : -1;
    }
    void Shutdown() override { commands_.stop(); }
    int fini() override { return 0; }

  private:
    static void report(const std::string& line) {
        std::istringstream words(line);
        std::string what;
        std::string time;
        std::string notificationId;
        words >> what >> time >> notificationId;
        if (what == "occurred")
            NS_KELPCORBA::SessionMgr::Instance()->NotifyEventLossOccurred(time, notificationId);
        else if (what == "cleared")
            NS_KELPCORBA::SessionMgr::Instance()->NotifyEventLossCleared(time);
    }

    FifoCommands commands_;
};

}  // namespace kelp::test

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, event_loss_switch, kelp::test::EventLossSwitch)
