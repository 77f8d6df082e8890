// Events that arrive encoded, compared with the same octets decoded by the ORB.

#include <cos/CosNotifyComm.h>
#include <gtest/gtest.h>
#include <kelp/orb/event_intake.h>
#include <kelp/orb/event_sender.h>

#include <memory>
#include <optional>
#include <random>
#include <string>

#include "component/orb/giop_recorder.h"
#include "equal_events.h"
#include "padding.h"
#include "recorded_arguments.h"
#include "support/generated_events.h"
#include "support/orb_fixture.h"
#include "unit/orb/hand_made_types.h"

namespace {

using namespace kelp::test;
using CosNotification::StructuredEvent;
using kelp::orb::EncodedEvent;
using Content = GeneratedEvents::Content;

constexpr const char* kOperation = "push_structured_event";

/// Keeps the last event that the ORB has decoded for it.
class Decoding final : public POA_CosNotifyComm::StructuredPushConsumer {
  public:
    void push_structured_event(const StructuredEvent& event) override { got = event; }
    void disconnect_structured_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

    std::optional<StructuredEvent> got;
};

/// Keeps the last event that it got encoded.
class Taking final
    : public kelp::orb::EncodedPushConsumer<POA_CosNotifyComm::StructuredPushConsumer> {
  public:
    void push_structured_event(const StructuredEvent& event) override { inside = event; }
    void pushEncoded(std::span<EncodedEvent> events) override {
        ASSERT_EQ(events.size(), 1u);
        if (raises)
            throw CosEventComm::Disconnected();
        got.emplace(std::move(events.front()));
    }
    void disconnect_structured_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

    std::optional<EncodedEvent> got;
    std::optional<StructuredEvent> inside;
    bool raises = false;
};

class TakingBatches final
    : public kelp::orb::EncodedPushConsumer<POA_CosNotifyComm::SequencePushConsumer> {
  public:
    void push_structured_events(const CosNotification::EventBatch&) override {}
    void pushEncoded(std::span<EncodedEvent> events) override {
        got.clear();
        for (EncodedEvent& each : events)
            got.push_back(std::move(each));
    }
    void disconnect_sequence_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

    std::vector<EncodedEvent> got;
};

class EventIntakes : public testing::Test {
  protected:
    Decoding decoding_;
    Taking taking_;
    TakingBatches batches_;
    GiopRecorder recorder_;
    RunningOrb orb_;  // ends before the servants it uses
    const CORBA::Object_var some_ =
        orb_.root()->create_reference("IDL:omg.org/CosNotifyComm/StructuredPushConsumer:1.0");

    CORBA::Object_ptr activate(PortableServer::Servant servant) {
        const PortableServer::ObjectId_var id = orb_.root()->activate_object(servant);
        return orb_.root()->id_to_reference(id.in());
    }
    std::string keyOf(PortableServer::Servant servant) {
        const CORBA::Object_var object = activate(servant);
        kelp::orb::ReferenceContent content;
        EXPECT_TRUE(kelp::orb::describe(orb_.orb(), object.in(), content));
        return content.objectKey;
    }

    /// The parameters of a push as the ORB encodes them, beginning at a multiple of 8. Texts are in
    /// the code set of a peer that does not say which it has.
    std::string encoded(const StructuredEvent& event) {
        const CORBA::Object_var object =
            kelp::orb::toReference(orb_.orb(), recorder_.corbaloc("1.2"));
        const auto consumer = CosNotifyComm::StructuredPushConsumer_var(
            CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(object.in()));
        consumer->push_structured_event(event);
        const RecordedArguments recorded(recorder_.lastRequest(), {});
        return recorder_.lastRequest().substr(recorded.body());
    }

    /// The same, or the exception if the event cannot be encoded, such as after a change into a
    /// wide text.
    std::string outcomeOf(const StructuredEvent& event) {
        try {
            return encoded(event);
        } catch (const CORBA::SystemException& failure) {
            return kelp::orb::exceptionText(failure);
        }
    }

    /// Send a request and return the whole answer; empty if the connection ends.
    static std::string answer(const Socket& socket, const std::string& message) {
        sendBytes(socket, message);
        char octets[4096];
        const ssize_t count = ::recv(socket.fd(), octets, sizeof octets, 0);
        return count <= 0 ? std::string() : std::string(octets, static_cast<std::size_t>(count));
    }
};

TEST_F(EventIntakes, TakeOverTheOctetsOfOrdinaryEvents) {
    const CORBA::Object_var own = activate(&taking_);
    const CORBA::Object_var object = orb_.overTheWire(own.in());
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(
        CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(object.in()));
    GeneratedEvents events(1, some_.in());
    for (int i = 0; i < 300; ++i) {
        const StructuredEvent event = events.next(i % 2 == 0 ? Content::Plain : Content::Anything);
        consumer->push_structured_event(event);
        ASSERT_TRUE(taking_.got);
        EXPECT_GT(taking_.got->octets(), 0u) << "event " << i << " is kept decoded";
        ASSERT_TRUE(areEqual(taking_.got->decoded(), event)) << "event " << i;
    }
}

TEST_F(EventIntakes, TakeOverBatchesOfAnyLength) {
    const CORBA::Object_var own = activate(&batches_);
    const CORBA::Object_var object = orb_.overTheWire(own.in());
    const auto consumer = CosNotifyComm::SequencePushConsumer_var(
        CosNotifyComm::SequencePushConsumer::_unchecked_narrow(object.in()));
    GeneratedEvents events(2, some_.in());
    for (const CORBA::ULong length : {0u, 1u, 2u, 7u, 120u}) {
        CosNotification::EventBatch batch;
        batch.length(length);
        for (CORBA::ULong i = 0; i < length; ++i)
            batch[i] = events.next();
        consumer->push_structured_events(batch);
        ASSERT_EQ(batches_.got.size(), length);
        for (CORBA::ULong i = 0; i < length; ++i)
            ASSERT_TRUE(areEqual(batches_.got[i].decoded(), batch[i])) << "event " << i;
    }
}

TEST_F(EventIntakes, RaiseWhatTheServantRaises) {
    const CORBA::Object_var own = activate(&taking_);
    const CORBA::Object_var object = orb_.overTheWire(own.in());
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(
        CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(object.in()));
    taking_.raises = true;
    EXPECT_THROW(consumer->push_structured_event(GeneratedEvents(3, some_.in()).next()),
                 CosEventComm::Disconnected);
    EXPECT_NO_THROW(consumer->offer_change({}, {})) << "other operations are not affected";
}

TEST_F(EventIntakes, LeaveCallsInsideTheProcessAsTheyAre) {
    const CORBA::Object_var object = activate(&taking_);
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(
        CosNotifyComm::StructuredPushConsumer::_narrow(object.in()));
    consumer->push_structured_event(GeneratedEvents(4, some_.in()).next());
    EXPECT_TRUE(taking_.inside);
    EXPECT_FALSE(taking_.got);
}

TEST_F(EventIntakes, ReadTheOtherByteOrder) {
    const CORBA::Object_var object = activate(&taking_);
    kelp::orb::ReferenceContent content;
    ASSERT_TRUE(kelp::orb::describe(orb_.orb(), object.in(), content));
    TypeWriter event(false);
    event.text("domain").text("type").text("event").unsignedLong(0);
    event.unsignedLong(1).text("count").unsignedLong(tcLong).unsignedLong(77);
    event.unsignedLong(tcNull);
    const std::string message = giopRequest(content.objectKey, kOperation, event.bytes());
    const Socket socket = connectTo(orb_.port());
    ASSERT_FALSE(answer(socket, message).empty());
    ASSERT_TRUE(taking_.got);
    const kelp::orb::EventView view(*taking_.got);
    EXPECT_STREQ(view.typeName(), "type");
    ASSERT_EQ(view.filterableData().size(), 1u);
    CORBA::Long count = 0;
    EXPECT_TRUE(view.filterableData().at(0).value.decoded() >>= count);
    EXPECT_EQ(count, 77);
}

/// The same octets go to a servant for which the ORB decodes them. Both must give the same answer,
/// and the same event when they accept it.
TEST_F(EventIntakes, AcceptAndRefuseWhatTheOrbDoes) {
    const std::string ordinaryKey = keyOf(&decoding_);
    const std::string takingKey = keyOf(&taking_);
    std::optional<Socket> ordinarySocket;
    std::optional<Socket> takingSocket;
    GeneratedEvents events(5, some_.in());
    int accepted = 0;
    int refused = 0;
    for (int round = 0; round < 60; ++round) {
        const std::string example =
            encoded(events.next(round % 3 == 0 ? Content::Latin : Content::Plain));
        for (int i = 0; i < 40; ++i) {
            std::string changed = example;
            for (std::size_t changes = i == 0 ? 0 : 1 + events.below(3); changes > 0; --changes)
                changed[events.below(changed.size())] =
                    static_cast<char>(events.below(2) == 0 ? events.below(34) : events.below(256));
            if (i % 10 == 9)
                changed.resize(events.below(changed.size()));
            decoding_.got.reset();
            taking_.got.reset();
            if (!ordinarySocket) {
                ordinarySocket.emplace(connectTo(orb_.port()));
                takingSocket.emplace(connectTo(orb_.port()));
            }
            const std::string ordinary =
                answer(*ordinarySocket, giop12Request(ordinaryKey, kOperation, changed));
            const std::string taken =
                answer(*takingSocket, giop12Request(takingKey, kOperation, changed));
            if (ordinary.empty())  // octets are left over, which ends the connection
                ordinarySocket.reset();
            ASSERT_TRUE(differOnlyInPadding(taken, ordinary))
                << "round " << round << ", change " << i;
            ASSERT_EQ(taking_.got.has_value(), decoding_.got.has_value());
            if (!decoding_.got) {
                ++refused;
                continue;
            }
            ++accepted;
            ASSERT_TRUE(
                differOnlyInPadding(outcomeOf(taking_.got->decoded()), outcomeOf(*decoding_.got)))
                << "round " << round << ", change " << i;
        }
    }
    EXPECT_GT(accepted, 500);
    EXPECT_GT(refused, 200);
}

}  // namespace
