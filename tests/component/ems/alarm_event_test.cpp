// The event of an alarm field by field, as an NMS reads it.

#include "common/alarm_event.h"

#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_store.h>
#include <mtnm/globaldefs.h>
#include <mtnm/notifications.h>

#include <optional>

#include "alarm_texts.h"
#include "alarms/alarm_json.h"
#include "support/orb_fixture.h"

namespace kelp::ems {
namespace {

class AlarmEvent : public testing::Test {
  protected:
    const CosNotification::StructuredEvent& eventOf(const admin::Json& alarm) {
        managers::fillAlarmEvent(event_, readAlarms(alarm).front(), "1732", "20240105030406.0Z");
        next_ = 0;
        return event_;
    }
    /// Return the next field. It must have this name and type.
    const CORBA::Any& field(const char* name, CORBA::TypeCode_ptr type) {
        static const CORBA::Any nothing;
        if (next_ >= event_.filterable_data.length()) {
            ADD_FAILURE() << name << " is missing";
            return nothing;
        }
        const CosNotification::Property& property = event_.filterable_data[next_++];
        EXPECT_STREQ(property.name.in(), name);
        const CORBA::TypeCode_var actual = property.value.type();
        EXPECT_TRUE(actual->equal(type)) << name << " has another type";
        return property.value;
    }
    void expectText(const char* name, const std::string& expected) {
        const char* value = nullptr;
        ASSERT_TRUE(field(name, CORBA::_tc_string) >>= value) << name;
        EXPECT_EQ(value, expected) << name;
    }
    void expectFlag(const char* name, bool expected) {
        CORBA::Boolean value = !expected;
        ASSERT_TRUE(field(name, CORBA::_tc_boolean) >>= CORBA::Any::to_boolean(value)) << name;
        EXPECT_EQ(static_cast<bool>(value), expected) << name;
    }
    template <class Enum>
    void expectEnum(const char* name, CORBA::TypeCode_ptr type, Enum expected) {
        Enum value{};
        ASSERT_TRUE(field(name, type) >>= value) << name;
        EXPECT_EQ(value, expected) << name;
    }
    void expectShort(const char* name, int expected) {
        CORBA::Short value = 0;
        ASSERT_TRUE(field(name, CORBA::_tc_short) >>= value) << name;
        EXPECT_EQ(value, expected) << name;
    }
    void expectPairs(const char* name, const std::string& expected) {
        const globaldefs::NVSList_T* value = nullptr;
        ASSERT_TRUE(field(name, globaldefs::_tc_NVSList_T) >>= value) << name;
        EXPECT_EQ(textOf(*value), expected) << name;
    }
    void expectNames(const char* name, const std::string& expected) {
        const globaldefs::NamingAttributesList_T* value = nullptr;
        ASSERT_TRUE(field(name, globaldefs::_tc_NamingAttributesList_T) >>= value) << name;
        std::string all;
        for (CORBA::ULong i = 0; i < value->length(); ++i)
            all += (i == 0 ? "" : "; ") + textOf((*value)[i]);
        EXPECT_EQ(all, expected) << name;
    }
    static std::string textOf(const globaldefs::NVSList_T& pairs) {
        std::string text;
        for (CORBA::ULong i = 0; i < pairs.length(); ++i)
            text +=
                std::string(i == 0 ? "" : ", ") + pairs[i].name.in() + "=" + pairs[i].value.in();
        return text;
    }

    kelp::test::RunningOrb orb_;
    CosNotification::StructuredEvent event_;
    CORBA::ULong next_ = 0;
};

TEST_F(AlarmEvent, HasTheHeaderOfAnAlarm) {
    const CosNotification::StructuredEvent& event = eventOf(test::smallestAlarm());
    EXPECT_STREQ(event.header.fixed_header.event_type.domain_name.in(), "tmf_mtnm");
    EXPECT_STREQ(event.header.fixed_header.event_type.type_name.in(), "NT_ALARM");
    EXPECT_STREQ(event.header.fixed_header.event_name.in(), "");
    EXPECT_EQ(event.header.variable_header.length(), 0u);
    const CORBA::TypeCode_var body = event.remainder_of_body.type();
    EXPECT_EQ(body->kind(), CORBA::tk_null);
}

TEST_F(AlarmEvent, HasNoTimeOfTheElementIfThatGaveNoneAndNoneIsFilledIn) {
    auto& config = NS_BUNDLEMGR1::ConfigStore::instance();
    ASSERT_TRUE(config.loadText("[notification]\nfill_ne_time = false\n", "test.toml").empty());
    const CosNotification::Property& time = eventOf(test::smallestAlarm()).filterable_data[7];
    config.reset();
    const char* text = nullptr;
    EXPECT_STREQ(time.name.in(), "neTime");
    ASSERT_TRUE(time.value >>= text);
    EXPECT_STREQ(text, "");
}

TEST_F(AlarmEvent, OfTheSmallestAlarmHasEveryFieldOfAnAlarm) {
    eventOf(test::smallestAlarm());
    expectText("notificationId", "1732");
    expectPairs("objectName", "EMS=Kelp/EMS, ManagedElement=NE-1, PTP=/shelf=1/port=2");
    expectText("nativeEMSName", "/shelf=1/port=2");
    expectText("nativeProbableCause", "LOS");
    expectEnum("objectType", notifications::_tc_ObjectType_T,
               notifications::OT_PHYSICAL_TERMINATION_POINT);
    expectText("objectTypeQualifier", "");
    expectText("emsTime", "20240105030406.0Z");
    expectText("neTime", "20240105030406.0Z");
    expectFlag("isClearable", true);
    expectShort("layerRate", 1);
    expectText("probableCause", "LOS");
    expectText("probableCauseQualifier", "");
    expectEnum("perceivedSeverity", notifications::_tc_PerceivedSeverity_T,
               notifications::PS_MAJOR);
    expectEnum("serviceAffecting", notifications::_tc_ServiceAffecting_T,
               notifications::SA_UNKNOWN);
    expectNames("affectedTPList", "");
    expectText("additionalText", "");
    expectPairs("additionalInfo", "");
    expectText("X.733::EventType", "communicationsAlarm");
    expectNames("X.733::SpecificProblems", "");
    expectNames("X.733::ProposedRepairActions", "");
    expectNames("X.733::AdditionalInfo", "");
    expectFlag("rcaiIndicator", false);
    expectEnum("acknowledgeIndication", notifications::_tc_AcknowledgeIndication_T,
               notifications::AI_NA);
    EXPECT_EQ(next_, event_.filterable_data.length());
}

TEST_F(AlarmEvent, OfAWholeAlarmHasAllGivenValues) {
    eventOf(test::wholeAlarm());
    expectText("notificationId", "1732");
    expectPairs("objectName", "EMS=Kelp/EMS, ManagedElement=NE-1");
    expectText("nativeEMSName", "Berlin 1");
    expectText("nativeProbableCause", "LOS-P");
    expectEnum("objectType", notifications::_tc_ObjectType_T, notifications::OT_AID);
    expectText("objectTypeQualifier", "OT_QUALIFIED");
    expectText("emsTime", "20240105030406.0Z");
    expectText("neTime", "20240105030405.0Z");
    expectFlag("isClearable", false);
    expectShort("layerRate", 20);
    expectText("probableCause", "LOS");
    expectText("probableCauseQualifier", "near end");
    expectEnum("perceivedSeverity", notifications::_tc_PerceivedSeverity_T,
               notifications::PS_CRITICAL);
    expectEnum("serviceAffecting", notifications::_tc_ServiceAffecting_T,
               notifications::SA_SERVICE_AFFECTING);
    expectNames("affectedTPList",
                "EMS=Kelp/EMS, ManagedElement=NE-1, PTP=/port=1; EMS=Kelp/EMS, "
                "ManagedElement=NE-1, PTP=/port=2");
    expectText("additionalText", "the fibre is out");
    expectPairs("additionalInfo", "operator=Müller, ticket=17");
    expectText("X.733::EventType", "equipmentAlarm");
    expectNames("X.733::SpecificProblems", "problem=laser");
    expectText("X.733::BackedUpStatus", "BACKED_UP");
    expectPairs("X.733::BackUpObject", "EMS=Kelp/EMS, ManagedElement=NE-2");
    expectText("X.733::TrendIndication", "MORE_SEVERE");
    const notifications::CorrelatedNotificationList_T* correlated = nullptr;
    ASSERT_TRUE(field("X.733::CorrelatedNotifications",
                      notifications::_tc_CorrelatedNotificationList_T) >>= correlated);
    ASSERT_EQ(correlated->length(), 1u);
    EXPECT_EQ(textOf((*correlated)[0].source), "EMS=Kelp/EMS");
    ASSERT_EQ((*correlated)[0].notifIDs.length(), 2u);
    EXPECT_STREQ((*correlated)[0].notifIDs[1].in(), "8");
    const notifications::NVList_T* attributes = nullptr;
    ASSERT_TRUE(field("X.733::MonitoredAttributes", notifications::_tc_NVList_T) >>= attributes);
    ASSERT_EQ(attributes->length(), 4u);
    CORBA::Long temperature = 0;
    EXPECT_TRUE((*attributes)[0].value >>= temperature);
    EXPECT_EQ(temperature, 71);
    CORBA::Double load = 0;
    EXPECT_TRUE((*attributes)[1].value >>= load);
    EXPECT_EQ(load, 0.5);
    const char* fan = "";
    EXPECT_TRUE((*attributes)[2].value >>= fan);
    EXPECT_STREQ(fan, "slow");
    CORBA::Boolean alive = false;
    EXPECT_TRUE((*attributes)[3].value >>= CORBA::Any::to_boolean(alive));
    EXPECT_TRUE(alive);
    EXPECT_STREQ((*attributes)[3].name.in(), "alive");
    expectNames("X.733::ProposedRepairActions", "action=clean; action=replace");
    expectNames("X.733::AdditionalInfo", "note=x");
    expectFlag("rcaiIndicator", true);
    expectEnum("acknowledgeIndication", notifications::_tc_AcknowledgeIndication_T,
               notifications::AI_EVENT_UNACKNOWLEDGED);
    EXPECT_EQ(next_, event_.filterable_data.length());
}

}  // namespace
}  // namespace kelp::ems
