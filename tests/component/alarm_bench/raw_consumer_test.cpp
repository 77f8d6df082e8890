#include "alarms/raw_consumer.h"

#include <cos/CosNotifyComm.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "alarms/stamp.h"
#include "support/orb_fixture.h"

namespace {

using namespace kelp::bench;
using namespace kelp::test;

void add(CosNotification::StructuredEvent& event, const char* name, const std::string& value) {
    const CORBA::ULong at = event.filterable_data.length();
    event.filterable_data.length(at + 1);
    event.filterable_data[at].name = CORBA::string_dup(name);
    event.filterable_data[at].value <<= value.c_str();
}

CosNotification::StructuredEvent eventOf(const std::string& id, const std::string& text,
                                         std::size_t filling = 0) {
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    event.header.fixed_header.event_type.type_name = CORBA::string_dup("NT_ALARM");
    add(event, "notificationId", id);
    add(event, "nativeEMSName", std::string(filling, 'n'));
    add(event, "additionalText", text);
    return event;
}

CosNotification::EventBatch batchOf(const std::vector<CosNotification::StructuredEvent>& events) {
    CosNotification::EventBatch batch;
    batch.length(static_cast<CORBA::ULong>(events.size()));
    for (CORBA::ULong i = 0; i < batch.length(); ++i)
        batch[i] = events[i];
    return batch;
}

/// A raw consumer, and an ORB that pushes to it.
class RawConsumers : public ::testing::Test {
  protected:
    RawConsumers() {
        const CORBA::Object_var object = kelp::orb::toReference(orb_.orb(), consumer_.reference());
        pushes_ = CosNotifyComm::SequencePushConsumer::_unchecked_narrow(object.in());
    }

    void push(const std::vector<CosNotification::StructuredEvent>& events) {
        pushes_->push_structured_events(batchOf(events));
    }
    /// "<events> <repeated or out of order>"
    std::string counted() const {
        std::istringstream words(tally_.report());
        std::string events;
        std::string outOfOrder;
        words >> events >> outOfOrder;
        return events + ' ' + outOfOrder;
    }

    const std::string stamp_ = std::string(kStampPrefix) + std::to_string(stampNow());
    RunningOrb orb_;
    EventTally tally_;
    RawConsumer consumer_{tally_};
    CosNotifyComm::SequencePushConsumer_var pushes_;
};

TEST_F(RawConsumers, CountsEveryEventOfBatchesAndAnswersEach) {
    push({eventOf("7", stamp_), eventOf("8", stamp_), eventOf("31", stamp_)});
    push({eventOf("18446744073709551615", stamp_)});
    EXPECT_EQ(counted(), "4 0");
}

TEST_F(RawConsumers, JoinsBatchesThatComeInFragments) {
    std::uint64_t id = 0;
    for (std::size_t filling = 0; filling < 64; ++filling) {
        std::vector<CosNotification::StructuredEvent> events;
        for (int i = 0; i < 50; ++i)
            events.push_back(eventOf(std::to_string(++id), stamp_, 5000 + filling));
        push(events);
    }
    EXPECT_EQ(counted(), "3200 0");
}

TEST_F(RawConsumers, NoticesEventsThatAreRepeatedOrOutOfOrder) {
    push({eventOf("1", stamp_), eventOf("3", stamp_), eventOf("3", stamp_)});
    push({eventOf("2", stamp_), eventOf("4", stamp_)});
    EXPECT_EQ(counted(), "5 2");
}

TEST_F(RawConsumers, LeavesOutEventsOfOthers) {
    push({eventOf(" ", "a heartbeat"), eventOf("5", stamp_), eventOf("6", "somebody's alarm"),
          eventOf("7", stamp_)});
    EXPECT_EQ(counted(), "2 0");
}

TEST_F(RawConsumers, TakesNamesOfFieldsInTextsForTexts) {
    push({eventOf("5", stamp_), eventOf("6", "notificationId"), eventOf("7", stamp_)});
    EXPECT_EQ(counted(), "2 0");
}

TEST_F(RawConsumers, FailsWhenAnEventHasNoNotificationId) {
    CosNotification::StructuredEvent nameless;
    add(nameless, "additionalText", stamp_);
    EXPECT_THROW(push({eventOf("5", stamp_), nameless}), CORBA::SystemException);
    EXPECT_EQ(counted(), "0 0");
}

TEST_F(RawConsumers, FailsWhenAnAlarmHasNoNumber) {
    EXPECT_THROW(push({eventOf("five", stamp_)}), CORBA::SystemException);
    EXPECT_EQ(counted(), "0 0");
}

TEST_F(RawConsumers, AnswersWhatElseAConsumerIsCalledFor) {
    pushes_->offer_change({}, {});
    pushes_->disconnect_sequence_push_consumer();
    EXPECT_EQ(counted(), "0 0");
}

}  // namespace
