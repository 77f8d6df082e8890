#include "notify/heartbeat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/time_change.h>
#include <mtnm/notifications.h>

#include "event_fields.h"
#include "unit/corbabase/config_text.h"

namespace NS_KELPCORBA {
namespace {

class Heartbeat : public testing::Test {
  protected:
    ~Heartbeat() override { CorbaAgentConfig::Destroy(); }

    static CosNotification::StructuredEvent make(int type, const std::string& emsName = "Kelp/EMS",
                                                 const std::string& more = "") {
        kelp::test::configure("[ems]\nname = \"" + emsName + "\"\n[agent]\nHeartbeatEventType = " +
                              std::to_string(type) + "\n" + more);
        CorbaAgentConfig::Instance()->Init();
        return makeHeartbeat();
    }
    static void expectHeader(const CosNotification::StructuredEvent& event, const char* type) {
        EXPECT_STREQ(event.header.fixed_header.event_type.domain_name.in(), "tmf_mtnm");
        EXPECT_STREQ(event.header.fixed_header.event_type.type_name.in(), type);
        EXPECT_STREQ(event.header.fixed_header.event_name.in(), "");
        EXPECT_EQ(event.header.variable_header.length(), 0u);
        const CORBA::TypeCode_var body = event.remainder_of_body.type();
        EXPECT_EQ(body->kind(), CORBA::tk_null);
    }
    /// Return the field at this position. It must have this name and type.
    static const CORBA::Any& field(const CosNotification::StructuredEvent& event, CORBA::ULong at,
                                   const char* name, CORBA::TypeCode_ptr type) {
        const CosNotification::Property& property = event.filterable_data[at];
        EXPECT_STREQ(property.name.in(), name);
        const CORBA::TypeCode_var actual = property.value.type();
        EXPECT_TRUE(actual->equal(type)) << name << " has another type";
        return property.value;
    }
    static void expectText(const CosNotification::StructuredEvent& event, CORBA::ULong at,
                           const char* name, const std::string& expected) {
        const char* value = nullptr;
        ASSERT_TRUE(field(event, at, name, CORBA::_tc_string) >>= value);
        EXPECT_EQ(value, expected) << name;
    }
    static void expectTime(const CosNotification::StructuredEvent& event, CORBA::ULong at,
                           const char* name) {
        const char* value = nullptr;
        ASSERT_TRUE(field(event, at, name, CORBA::_tc_string) >>= value);
        bool err = true;
        std::tm time = TimeChange::str2Time(value, err);
        EXPECT_FALSE(err) << value;
        EXPECT_EQ(std::string(value).back(), 'Z') << "the reference is UTC";
        EXPECT_LE(std::difftime(std::time(nullptr), std::mktime(&time)), 5) << value;
    }
    static void expectEmsName(const CosNotification::StructuredEvent& event, const char* emsName) {
        const globaldefs::NVSList_T* name = nullptr;
        ASSERT_TRUE(field(event, 1, "objectName", globaldefs::_tc_NVSList_T) >>= name);
        ASSERT_EQ(name->length(), 1u);
        EXPECT_STREQ((*name)[0].name.in(), "EMS");
        EXPECT_STREQ((*name)[0].value.in(), emsName);
    }
    template <class Enum>
    static void expectEnum(const CosNotification::StructuredEvent& event, CORBA::ULong at,
                           const char* name, CORBA::TypeCode_ptr type, Enum expected) {
        Enum value{};
        ASSERT_TRUE(field(event, at, name, type) >>= value);
        EXPECT_EQ(value, expected) << name;
    }
    static void expectNoAttributes(const CosNotification::StructuredEvent& event, CORBA::ULong at,
                                   const char* name) {
        const globaldefs::NamingAttributesList_T* list = nullptr;
        ASSERT_TRUE(field(event, at, name, globaldefs::_tc_NamingAttributesList_T) >>= list);
        EXPECT_EQ(list->length(), 0u);
    }
};

TEST_F(Heartbeat, OfTypeZeroHasFourFields) {
    const CosNotification::StructuredEvent event = make(0);
    expectHeader(event, "NT_HEARTBEAT");
    ASSERT_EQ(event.filterable_data.length(), 4u);
    expectText(event, 0, "notificationId", " ");
    expectEmsName(event, "Kelp/EMS");
    expectEnum(event, 2, "objectType", notifications::_tc_ObjectType_T, notifications::OT_EMS);
    expectTime(event, 3, "emsTime");
}

TEST_F(Heartbeat, OfAnyOtherTypeIsAnAlarmOfNineteenFields) {
    for (const int type : {1, -1, 2000000000}) {
        const CosNotification::StructuredEvent event = make(type);
        expectHeader(event, "NT_ALARM");
        ASSERT_EQ(event.filterable_data.length(), 19u);
        expectText(event, 0, "notificationId", "0");
        expectEmsName(event, "Kelp/EMS");
        expectText(event, 2, "nativeEMSName", "Kelp/EMS");
        expectText(event, 3, "nativeProbableCause", "Heartbeat");
        expectEnum(event, 4, "objectType", notifications::_tc_ObjectType_T, notifications::OT_EMS);
        expectTime(event, 5, "emsTime");
        expectTime(event, 6, "neTime");
        CORBA::Boolean isClearable = true;
        ASSERT_TRUE(field(event, 7, "isClearable", CORBA::_tc_boolean) >>=
                    CORBA::Any::to_boolean(isClearable));
        EXPECT_FALSE(isClearable);
        CORBA::Short layerRate = 0;
        ASSERT_TRUE(field(event, 8, "layerRate", CORBA::_tc_short) >>= layerRate);
        EXPECT_EQ(layerRate, 1);
        expectText(event, 9, "probableCause", "Heartbeat");
        expectText(event, 10, "probableCauseQualifier", "0:0:0");
        expectEnum(event, 11, "perceivedSeverity", notifications::_tc_PerceivedSeverity_T,
                   notifications::PS_INDETERMINATE);
        expectEnum(event, 12, "serviceAffecting", notifications::_tc_ServiceAffecting_T,
                   notifications::SA_NON_SERVICE_AFFECTING);
        expectNoAttributes(event, 13, "affectedTPList");
        expectText(event, 14, "additionalText", "");
        expectText(event, 15, "X.733::EventType", "environmentalAlarm");
        expectNoAttributes(event, 16, "X.733::SpecificProblems");
        expectNoAttributes(event, 17, "X.733::ProposedRepairActions");
        expectNoAttributes(event, 18, "X.733::AdditionalInfo");
    }
}

TEST_F(Heartbeat, OfAnEmsWithoutANameHasAnEmptyOne) {
    const CosNotification::StructuredEvent heartbeat = makeHeartbeat(0, "");
    expectEmsName(heartbeat, "");
    const CosNotification::StructuredEvent alarm = makeHeartbeat(1, "");
    expectEmsName(alarm, "");
    expectText(alarm, 2, "nativeEMSName", "");
}

TEST_F(Heartbeat, HasItsTimesInTheConfiguredLayoutAndReference) {
    const CosNotification::StructuredEvent event =
        make(1, "Kelp/EMS", "[time]\nappearance = 1\nreference = 1\n");
    for (const CORBA::ULong at : {5u, 6u}) {
        const char* value = nullptr;
        ASSERT_TRUE(event.filterable_data[at].value >>= value);
        EXPECT_THAT(value,
                    testing::MatchesRegex("[0-9]{2}/[0-9]{2}/[0-9]{4} [0-9]{2}:[0-9]{2}:[0-9]{2}"));
    }
}

TEST_F(Heartbeat, FollowsTheConfigurationFromOneToTheNext) {
    expectHeader(make(0), "NT_HEARTBEAT");
    expectHeader(make(1), "NT_ALARM");
    expectEmsName(make(0, "Kelp/Other"), "Kelp/Other");
}

}  // namespace
}  // namespace NS_KELPCORBA
