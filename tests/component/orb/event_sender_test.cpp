// Events that are encoded once for all consumers: octets, results and exceptions must equal those
// of the ordinary call.

#include <gtest/gtest.h>
#include <kelp/orb/dyn_any.h>
#include <kelp/orb/event_sender.h>

#include <functional>
#include <vector>

#include "component/orb/giop_recorder.h"
#include "equal_events.h"
#include "numbered_event.h"
#include "padding.h"
#include "support/orb_fixture.h"

namespace {

using namespace kelp::test;
using CosNotification::StructuredEvent;
using kelp::orb::encodingSender;
using kelp::orb::EventSender;
using kelp::orb::ordinarySender;
using kelp::orb::SharedEvent;

class EventSenderBytes : public testing::TestWithParam<const char*> {
  protected:
    RunningOrb orb_;
    GiopRecorder recorder_;

    template <class Interface>
    typename Interface::_ptr_type recorder() {
        const CORBA::Object_var object =
            kelp::orb::toReference(orb_.orb(), recorder_.corbaloc(GetParam()));
        return Interface::_unchecked_narrow(object.in());
    }
};

TEST_P(EventSenderBytes, AreThoseOfTheOrdinaryCallForOneEvent) {
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(
        recorder<CosNotifyComm::StructuredPushConsumer>());
    for (const std::size_t textSize : {0u, 5000u, 9000u, 100000u}) {
        for (std::size_t number = 0; number < 9; ++number) {
            const SharedEvent event(numbered(number, textSize));
            ordinarySender().push(consumer.in(), event);
            const std::string expected = recorder_.lastRequest();
            ASSERT_GT(expected.size(), textSize);
            encodingSender().push(consumer.in(), event);
            EXPECT_TRUE(differOnlyInPadding(recorder_.lastRequest(), expected))
                << "event " << number << ", text " << textSize;
            encodingSender().push(consumer.in(), event);
            EXPECT_TRUE(differOnlyInPadding(recorder_.lastRequest(), expected))
                << "the second time";
            EXPECT_EQ(event.encodingsKept(), 1u);
        }
    }
}

TEST_P(EventSenderBytes, AreThoseOfTheOrdinaryCallForABatch) {
    const auto consumer =
        CosNotifyComm::SequencePushConsumer_var(recorder<CosNotifyComm::SequencePushConsumer>());
    for (const std::size_t textSize : {0u, 700u, 20001u}) {
        std::vector<std::unique_ptr<SharedEvent>> events;
        std::vector<const SharedEvent*> batch;
        for (std::size_t number = 0; number < 50; ++number) {
            events.push_back(std::make_unique<SharedEvent>(numbered(number, textSize)));
            batch.push_back(events.back().get());
        }
        for (const std::size_t size :
             {std::size_t{50}, std::size_t{1}, std::size_t{7}, std::size_t{0}}) {
            const std::span<const SharedEvent* const> some(batch.data(), size);
            ordinarySender().push(consumer.in(), some);
            const std::string expected = recorder_.lastRequest();
            encodingSender().push(consumer.in(), some);
            EXPECT_TRUE(differOnlyInPadding(recorder_.lastRequest(), expected))
                << size << " events";
        }
        for (const SharedEvent* each : batch)
            EXPECT_LE(each->encodingsKept(), 2u);
    }
}

INSTANTIATE_TEST_SUITE_P(Giop, EventSenderBytes, testing::Values("1.0", "1.1", "1.2"),
                         [](const auto& about) {
                             return std::string("Version1") + about.param[2];
                         });

/// Runs a function of the test for each event.
class Consumer final : public POA_CosNotifyComm::StructuredPushConsumer {
  public:
    void push_structured_event(const StructuredEvent& event) override { onPush(event); }
    void disconnect_structured_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

    std::function<void(const StructuredEvent&)> onPush = [](const StructuredEvent&) {};
};

class BatchConsumer final : public POA_CosNotifyComm::SequencePushConsumer {
  public:
    void push_structured_events(const CosNotification::EventBatch& batch) override { got = batch; }
    void disconnect_sequence_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

    CosNotification::EventBatch got;
};

class EventSenders : public testing::TestWithParam<const EventSender* (*)()> {
  protected:
    const EventSender& sender() { return *GetParam()(); }

    Consumer consumer_;
    BatchConsumer batchConsumer_;
    RunningOrb orb_;  // ends before the servants it uses

    template <class Interface, class Servant>
    typename Interface::_ptr_type reference(Servant& servant) {
        const PortableServer::ObjectId_var id = orb_.root()->activate_object(&servant);
        const CORBA::Object_var own = orb_.root()->id_to_reference(id.in());
        return Interface::_narrow(own.in());
    }
};

TEST_P(EventSenders, HandOverTheWholeEvent) {
    const auto own = CosNotifyComm::StructuredPushConsumer_var(
        reference<CosNotifyComm::StructuredPushConsumer>(consumer_));
    const CORBA::Object_var remoteObject = orb_.overTheWire(own.in());
    const auto remote = CosNotifyComm::StructuredPushConsumer_var(
        CosNotifyComm::StructuredPushConsumer::_narrow(remoteObject.in()));
    StructuredEvent full = numbered(5);
    full.filterable_data.length(5);
    full.filterable_data[3].name = CORBA::string_dup("object");
    full.filterable_data[3].value <<= own.in();
    full.filterable_data[4].name = CORBA::string_dup("wide");
    full.filterable_data[4].value <<=
        CORBA::Any::from_wstring(CORBA::wstring_dup(L"breit"), 0, true);
    const SharedEvent event(full);
    for (const CosNotifyComm::StructuredPushConsumer_ptr each : {own.in(), remote.in()}) {
        bool equal = false;
        consumer_.onPush = [&](const StructuredEvent& got) { equal = areEqual(got, full); };
        sender().push(each, event);
        EXPECT_TRUE(equal);
    }
}

TEST_P(EventSenders, HandOverTheWholeBatch) {
    const auto own = CosNotifyComm::SequencePushConsumer_var(
        reference<CosNotifyComm::SequencePushConsumer>(batchConsumer_));
    const CORBA::Object_var remoteObject = orb_.overTheWire(own.in());
    const auto remote = CosNotifyComm::SequencePushConsumer_var(
        CosNotifyComm::SequencePushConsumer::_narrow(remoteObject.in()));
    const SharedEvent first(numbered(1));
    const SharedEvent second(numbered(2));
    const std::vector<const SharedEvent*> events{&first, &second};
    for (const CosNotifyComm::SequencePushConsumer_ptr each : {own.in(), remote.in()}) {
        batchConsumer_.got.length(0);
        sender().push(each, events);
        ASSERT_EQ(batchConsumer_.got.length(), 2u);
        EXPECT_TRUE(areEqual(batchConsumer_.got[0], first.decoded()));
        EXPECT_TRUE(areEqual(batchConsumer_.got[1], second.decoded()));
    }
}

TEST_P(EventSenders, RaiseWhatTheConsumerRaises) {
    const SharedEvent event(numbered(1));
    const auto own = CosNotifyComm::StructuredPushConsumer_var(
        reference<CosNotifyComm::StructuredPushConsumer>(consumer_));
    const CORBA::Object_var remoteObject = orb_.overTheWire(own.in());
    const auto remote = CosNotifyComm::StructuredPushConsumer_var(
        CosNotifyComm::StructuredPushConsumer::_narrow(remoteObject.in()));
    for (const CosNotifyComm::StructuredPushConsumer_ptr each : {own.in(), remote.in()}) {
        consumer_.onPush = [](const StructuredEvent&) { throw CosEventComm::Disconnected(); };
        EXPECT_THROW(sender().push(each, event), CosEventComm::Disconnected);
        consumer_.onPush = [](const StructuredEvent&) {
            throw CORBA::NO_RESOURCES(7, CORBA::COMPLETED_NO);
        };
        EXPECT_THROW(sender().push(each, event), CORBA::NO_RESOURCES);
        consumer_.onPush = [](const StructuredEvent&) {};
        sender().push(each, event);
    }
    const PortableServer::ObjectId_var id = orb_.root()->servant_to_id(&consumer_);
    orb_.root()->deactivate_object(id.in());
    EXPECT_THROW(sender().push(remote.in(), event), CORBA::OBJECT_NOT_EXIST);
}

TEST_P(EventSenders, RaiseUnknownForAnExceptionThatTheInterfaceDoesNotHave) {
    GiopRecorder recorder;
    recorder.answerWithException("IDL:omg.org/CosEventChannelAdmin/AlreadyConnected:1.0");
    const CORBA::Object_var object = kelp::orb::toReference(orb_.orb(), recorder.corbaloc("1.2"));
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(
        CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(object.in()));
    const SharedEvent event(numbered(1));
    EXPECT_THROW(sender().push(consumer.in(), event), CORBA::UNKNOWN);
    recorder.answerWithException("IDL:omg.org/CosEventComm/Disconnected:1.0");
    EXPECT_THROW(sender().push(consumer.in(), event), CosEventComm::Disconnected);
}

INSTANTIATE_TEST_SUITE_P(Both, EventSenders,
                         testing::Values(
                             +[] { return &encodingSender(); }, +[] { return &ordinarySender(); }),
                         [](const auto& about) {
                             return about.index == 0 ? std::string("Encoding")
                                                     : std::string("Ordinary");
                         });

}  // namespace
