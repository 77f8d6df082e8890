// What it costs to accept an event from another process, in allocations.

#include <gtest/gtest.h>
#include <kelp/notification/channel.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "component/orb/giop_recorder.h"
#include "component/orb/recorded_arguments.h"
#include "support/full_alarm.h"
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
    const std::string request = requestFor(orb.orb(), proxy.in(), fullAlarm());
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
