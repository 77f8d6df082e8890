// A bundle that pushes alarms as a bundle of the EMS does. The test writes to the FIFO named by
// KELP_TEST_EVENTS, one line for each batch of alarms: FIRST LAST
// The numbers from FIRST to LAST become the alarms' notification ids and names.

#include <ace/svc_export.h>
#include <kelp/agent/push_event.h>
#include <kelp/bundlemgr/service_object.h>

#include <list>
#include <sstream>
#include <string>

#include "fifo_commands.h"

namespace kelp::test {

class EventSource final : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    EventSource() : ServiceObjectBase("event_source_bundle", "event_source") {}

    int init(int, char*[]) override { return commands_.start("KELP_TEST_EVENTS", push) ? 0 : -1; }
    void Shutdown() override { commands_.stop(); }
    int fini() override { return 0; }

  private:
    static void push(const std::string& line) {
        std::istringstream words(line);
        int first = 0;
        int last = -1;
        words >> first >> last;
        std::list<CosNotification::StructuredEvent> events;
        for (int i = first; i <= last; ++i)
            events.push_back(alarm(std::to_string(i)));
        NS_KELPCORBA::PushEvents(events);
    }
    static CosNotification::StructuredEvent alarm(const std::string& number) {
        CosNotification::StructuredEvent event;
        event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
        event.header.fixed_header.event_type.type_name = CORBA::string_dup("NT_ALARM");
        event.header.fixed_header.event_name = CORBA::string_dup(number.c_str());
        event.filterable_data.length(2);
        event.filterable_data[0].name = CORBA::string_dup("notificationId");
        event.filterable_data[0].value <<= number.c_str();
        event.filterable_data[1].name = CORBA::string_dup("emsTime");
        event.filterable_data[1].value <<= "20240105030405.0Z";
        return event;
    }

    FifoCommands commands_;
};

}  // namespace kelp::test

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, event_source, kelp::test::EventSource)
