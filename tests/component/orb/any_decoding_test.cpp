// The ORB can safely decode and encode whatever the check of parameters accepts. The test changes
// anys at random and sends those that the check accepts to an object.

#include <cos/CosNotifyComm.h>
#include <gtest/gtest.h>
#include <mtnm/notifications.h>

#include <random>

#include "component/orb/giop_recorder.h"
#include "giop/arguments/argument_check.h"
#include "raw_giop.h"
#include "recorded_arguments.h"
#include "support/orb_fixture.h"

namespace {

using namespace kelp::test;
using kelp::orb::giop::ArgumentVerdict;

/// Copies each any and sends it on, as a channel does.
class Copier final : public POA_CosEventComm::PushConsumer {
  public:
    explicit Copier(CosEventComm::PushConsumer_ptr next)
        : next_(CosEventComm::PushConsumer::_duplicate(next)) {}

    void push(const CORBA::Any& data) override {
        ++pushes_;
        const CORBA::Any copy(data);
        const CosNotification::PropertySeq* properties = nullptr;
        if (copy >>= properties)
            ++understood_;
        const CORBA::TypeCode_var type = copy.type();
        (void)type->equivalent(CosNotification::_tc_StructuredEvent);
        next_->push(copy);
    }
    void disconnect_push_consumer() override {}

    int pushes() const { return pushes_; }
    int understood() const { return understood_; }

  private:
    const CosEventComm::PushConsumer_var next_;
    std::atomic<int> pushes_{0};
    std::atomic<int> understood_{0};
};

CORBA::Any exampleOf(unsigned number) {
    CORBA::Any any;
    CosNotification::PropertySeq properties;
    properties.length(3);
    properties[0].name = CORBA::string_dup("name");
    properties[0].value <<= "value";
    properties[1].name = CORBA::string_dup("list");
    notifications::NVList_T list;
    list.length(2);
    properties[1].value <<= list;
    properties[2].name = CORBA::string_dup("digits");
    properties[2].value <<= CORBA::Any::from_fixed(CORBA::Fixed("1.25"), 5, 2);
    switch (number % 3) {
        case 0:
            any <<= properties;
            break;
        case 1:
            any <<= CosNotification::_tc_EventBatch;
            break;
        default:
            CosNotification::StructuredEvent event;
            event.filterable_data = properties;
            event.remainder_of_body <<= properties[1].value;
            any <<= event;
    }
    return any;
}

class AnyDecoding : public testing::Test {
  protected:
    AnyDecoding() {
        const CORBA::Object_var object =
            kelp::orb::toReference(orb_.orb(), behind_.corbaloc("1.0"));
        const auto next = CosEventComm::PushConsumer_var(
            CosEventComm::PushConsumer::_unchecked_narrow(object.in()));
        copier_ = new Copier(next.in());
        holder_ = copier_;
        const PortableServer::ObjectId_var id = orb_.root()->activate_object(copier_);
        const CORBA::Object_var reference = orb_.root()->id_to_reference(id.in());
        kelp::orb::ReferenceContent content;
        EXPECT_TRUE(kelp::orb::describe(orb_.orb(), reference.in(), content));
        key_ = content.objectKey;
    }

    /// Return the parameters as the ORB encodes them, little-endian, beginning at a multiple of 8.
    std::string encoded(const CORBA::Any& any) {
        const CORBA::Object_var object =
            kelp::orb::toReference(orb_.orb(), recorder_.corbaloc("1.2"));
        const auto consumer = CosEventComm::PushConsumer_var(
            CosEventComm::PushConsumer::_unchecked_narrow(object.in()));
        consumer->push(any);
        const RecordedArguments recorded(recorder_.lastRequest(), {});
        return recorder_.lastRequest().substr(recorded.body());
    }

    /// Send the parameters. False if the check refuses them or the connection ends.
    bool send(const Socket& socket, const std::string& parameters) const {
        const std::string message = giop12Request(key_, "push", parameters);
        const auto* const octets = reinterpret_cast<const std::uint8_t*>(message.data());
        if (kelp::orb::giop::checkArguments(
                "push",
                {{octets, message.size()}, message.size() - parameters.size(), true, 2, {}}) !=
            ArgumentVerdict::Fine)
            return false;
        sendBytes(socket, message);
        char reply[4096];
        return ::recv(socket.fd(), reply, sizeof reply, 0) > 0;
    }

    GiopRecorder recorder_;
    /// a second recorder for the copies, because each recorder serves one connection at a time
    GiopRecorder behind_;
    RunningOrb orb_;
    Copier* copier_ = nullptr;
    PortableServer::ServantBase_var holder_;
    std::string key_;
};

TEST_F(AnyDecoding, DecodesSafelyWhateverTheCheckAccepts) {
    std::mt19937 random(20);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const Socket socket = connectTo(orb_.port());
    int sent = 0;
    for (unsigned round = 0; round < 6; ++round) {
        const std::string example = encoded(exampleOf(round));
        ASSERT_TRUE(send(socket, example));
        for (int i = 0; i < 300; ++i) {
            std::string changed = example;
            for (std::size_t changes = 1 + below(3); changes > 0; --changes) {
                const std::size_t at = below(changed.size());
                changed[at] = static_cast<char>(below(2) == 0 ? below(34) : random());
            }
            sent += send(socket, changed) ? 1 : 0;
        }
    }
    EXPECT_GT(sent, 500);
    EXPECT_GT(copier_->pushes(), 500);
    EXPECT_GT(copier_->understood(), 0);
}

}  // namespace
