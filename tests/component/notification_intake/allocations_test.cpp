// What it costs to accept an event from another process, in allocations.

#include <gtest/gtest.h>
#include <kelp/notification/channel.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "component/orb/giop_recorder.h"
#include "component/orb/recorded_arguments.h"
#include "support/generated_events.h"
#include "support/orb_fixture.h"

namespace {

std::atomic<std::size_t> allocations{0};

}  // namespace

void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using namespace kelp::test;
using namespace CosNotifyChannelAdmin;

/// An alarm as a supplier of alarms sends it.
CosNotification::StructuredEvent alarm() {
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    event.header.fixed_header.event_type.type_name = CORBA::string_dup("NT_ALARM");
    event.header.fixed_header.event_name = CORBA::string_dup("");
    event.filterable_data.length(17);
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i) {
        event.filterable_data[i].name = CORBA::string_dup(("field" + std::to_string(i)).c_str());
        if (i % 4 == 0) {
            globaldefs::NamingAttributes_T name;
            name.length(3);
            event.filterable_data[i].value <<= name;
        } else if (i % 4 == 1) {
            event.filterable_data[i].value <<= notifications::PS_CRITICAL;
        } else {
            event.filterable_data[i].value <<= "Loss of signal at the line side";
        }
    }
    return event;
}

/// Octets of a request that pushes the event to an object, in GIOP 1.2.
std::string requestFor(CORBA::ORB_ptr orb, CORBA::Object_ptr target,
                       const CosNotification::StructuredEvent& event) {
    GiopRecorder recorder;
    const CORBA::Object_var object = kelp::orb::toReference(orb, recorder.corbaloc("1.2"));
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(
        CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(object.in()));
    consumer->push_structured_event(event);
    const std::string recorded = recorder.lastRequest();
    const std::string arguments = recorded.substr(RecordedArguments(recorded, {}).body());
    kelp::orb::ReferenceContent content;
    EXPECT_TRUE(kelp::orb::describe(orb, target, content));
    return giop12Request(content.objectKey, "push_structured_event", arguments);
}

TEST(EventIntake, AllocatesFewTimes) {
    const RunningOrb orb;
    kelp::notification::Channel channel(orb.orb(), {}, nullptr);
    const EventChannel_var reference = channel.reference();
    const SupplierAdmin_var admin = reference->default_supplier_admin();
    ProxyID id = 0;
    const ProxyConsumer_var proxy = admin->obtain_notification_push_consumer(STRUCTURED_EVENT, id);
    const StructuredProxyPushConsumer_var intake = StructuredProxyPushConsumer::_narrow(proxy.in());
    intake->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());
    const std::string request = requestFor(orb.orb(), proxy.in(), alarm());
    const Socket socket = connectTo(orb.port());
    const auto push = [&] {
        sendBytes(socket, request);
        char reply[4096];
        EXPECT_GT(::recv(socket.fd(), reply, sizeof reply, 0), 0);
    };
    for (int i = 0; i < 10; ++i)
        push();  // the types of the values are learned
    constexpr std::size_t pushes = 500;
    constexpr std::size_t allocationsMax = 20;
    const std::size_t before = allocations;
    for (std::size_t i = 0; i < pushes; ++i)
        push();
    const std::size_t each = (allocations - before) / pushes;
    RecordProperty("allocations", static_cast<int>(each));
    EXPECT_LE(each, allocationsMax);
}

}  // namespace
