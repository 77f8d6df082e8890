// Values of the standard's types in an Any, as the fields of a structured event carry them.

#include <cos/CosNotification.h>
#include <gtest/gtest.h>
#include <mtnm/managedElement.h>
#include <mtnm/notifications.h>
#include <mtnm/topologicalLink.h>

namespace {

/// Copying an Any marshals it. For that the ORB must know its code sets.
class AnyValues : public testing::Test {
  protected:
    void SetUp() override {
        int argc = 0;
        orb_ = CORBA::ORB_init(argc, nullptr);
    }
    void TearDown() override { orb_->destroy(); }

  private:
    CORBA::ORB_var orb_;
};

globaldefs::NamingAttributes_T nameOf(const char* ems, const char* element) {
    globaldefs::NamingAttributes_T name;
    name.length(2);
    name[0].name = "EMS";
    name[0].value = ems;
    name[1].name = "ManagedElement";
    name[1].value = element;
    return name;
}

managedElement::ManagedElement_T someElement() {
    managedElement::ManagedElement_T element;
    element.name = nameOf("Acme/1", "me-7");
    element.userLabel = "node 7";
    element.nativeEMSName = "N7";
    element.owner = "";
    element.location = "here";
    element.version = "1.2";
    element.productName = "P";
    element.communicationState = managedElement::CS_UNAVAILABLE;
    element.emsInSyncState = true;
    element.supportedRates.length(2);
    element.supportedRates[0] = 15;
    element.supportedRates[1] = -1;
    return element;
}

std::string typeIdOf(const CORBA::Any& any) {
    CORBA::TypeCode_var type = any.type();
    return std::string(type->id());
}

TEST_F(AnyValues, StructComesOutAsItWentIn) {
    CORBA::Any any;
    any <<= someElement();
    EXPECT_EQ(typeIdOf(any), "IDL:mtnm.tmforum.org/managedElement/ManagedElement_T:1.0");

    const managedElement::ManagedElement_T* element = nullptr;
    ASSERT_TRUE(any >>= element);
    ASSERT_EQ(element->name.length(), 2U);
    EXPECT_STREQ(element->name[1].name, "ManagedElement");
    EXPECT_STREQ(element->name[1].value, "me-7");
    EXPECT_STREQ(element->userLabel, "node 7");
    EXPECT_STREQ(element->productName, "P");
    EXPECT_EQ(element->communicationState, managedElement::CS_UNAVAILABLE);
    EXPECT_TRUE(element->emsInSyncState);
    ASSERT_EQ(element->supportedRates.length(), 2U);
    EXPECT_EQ(element->supportedRates[1], -1);
    EXPECT_EQ(element->additionalInfo.length(), 0U);
}

TEST_F(AnyValues, CopyIsIndependentOfTheOriginal) {
    CORBA::Any copy;
    {
        CORBA::Any any;
        any <<= nameOf("Acme/1", "me-7");
        copy = any;
    }
    const globaldefs::NamingAttributes_T* name = nullptr;
    ASSERT_TRUE(copy >>= name);
    EXPECT_STREQ((*name)[0].value, "Acme/1");
}

TEST_F(AnyValues, AnotherTypeIsNotExtracted) {
    CORBA::Any any;
    any <<= someElement();
    const topologicalLink::TopologicalLink_T* link = nullptr;
    EXPECT_FALSE(any >>= link);
    const globaldefs::NamingAttributes_T* name = nullptr;
    EXPECT_FALSE(any >>= name);
    globaldefs::ConnectionDirection_T direction = globaldefs::CD_UNI;
    EXPECT_FALSE(any >>= direction);
}

TEST_F(AnyValues, EnumKeepsItsTypeAndNumber) {
    CORBA::Any any;
    any <<= notifications::PS_CLEARED;
    EXPECT_EQ(typeIdOf(any), "IDL:mtnm.tmforum.org/notifications/PerceivedSeverity_T:1.0");
    notifications::PerceivedSeverity_T severity = notifications::PS_INDETERMINATE;
    ASSERT_TRUE(any >>= severity);
    EXPECT_EQ(severity, notifications::PS_CLEARED);
    notifications::ObjectType_T type = notifications::OT_EMS;
    EXPECT_FALSE(any >>= type);
}

TEST_F(AnyValues, NameCanBeMarkedWithItsAliasType) {
    CORBA::Any any;
    any <<= nameOf("Acme/1", "me-7");
    any.type(globaldefs::_tc_NamingAttributes_T);
    EXPECT_EQ(typeIdOf(any), "IDL:mtnm.tmforum.org/globaldefs/NamingAttributes_T:1.0");
    const globaldefs::NamingAttributes_T* name = nullptr;
    ASSERT_TRUE(any >>= name);
    EXPECT_STREQ((*name)[1].value, "me-7");
}

TEST_F(AnyValues, TimeCanBeMarkedWithItsAliasTypeAndReadAsString) {
    CORBA::Any any;
    any <<= "19851106210627.3Z";
    any.type(globaldefs::_tc_Time_T);
    EXPECT_EQ(typeIdOf(any), "IDL:mtnm.tmforum.org/globaldefs/Time_T:1.0");
    const char* time = nullptr;
    ASSERT_TRUE(any >>= time);
    EXPECT_STREQ(time, "19851106210627.3Z");
}

TEST_F(AnyValues, UnionKeepsTheChosenMember) {
    notifications::AlarmId_T alarm;
    alarm.objectName = nameOf("Acme/1", "me-7");
    alarm.layerRate = 1;
    alarm.probableCause = "LOS";
    alarm.probableCauseQualifier = "";
    notifications::AlarmAndTCAIDList_T ids;
    ids.length(2);
    ids[0].alarmId(alarm);
    notifications::TCAId_T tca;
    tca.objectName = nameOf("Acme/1", "me-7");
    tca.layerRate = 25;
    tca.pmParameterName = "PMP_ES";
    tca.pmLocation = "PML_NEAR_END_Rx";
    tca.granularity = "15min";
    ids[1].tcaId(tca);

    CORBA::Any any;
    any <<= ids;
    const notifications::AlarmAndTCAIDList_T* found = nullptr;
    ASSERT_TRUE(any >>= found);
    ASSERT_EQ(found->length(), 2U);
    EXPECT_EQ((*found)[0]._d(), notifications::ALARM);
    EXPECT_STREQ((*found)[0].alarmId().probableCause, "LOS");
    EXPECT_EQ((*found)[1]._d(), notifications::TCA);
    EXPECT_EQ((*found)[1].tcaId().layerRate, 25);
    EXPECT_STREQ((*found)[1].tcaId().granularity, "15min");
}

TEST_F(AnyValues, AttributeListCarriesValuesOfSeveralTypes) {
    notifications::NVList_T attributes;
    attributes.length(3);
    attributes[0].name = "userLabel";
    attributes[0].value <<= "node 7";
    attributes[1].name = "communicationState";
    attributes[1].value <<= managedElement::CS_AVAILABLE;
    attributes[2].name = "emsInSyncState";
    attributes[2].value <<= CORBA::Any::from_boolean(true);

    CORBA::Any any;
    any <<= attributes;
    const notifications::NVList_T* found = nullptr;
    ASSERT_TRUE(any >>= found);
    ASSERT_EQ(found->length(), 3U);
    const char* label = nullptr;
    ASSERT_TRUE((*found)[0].value >>= label);
    EXPECT_STREQ(label, "node 7");
    managedElement::CommunicationState_T state = managedElement::CS_UNAVAILABLE;
    ASSERT_TRUE((*found)[1].value >>= state);
    EXPECT_EQ(state, managedElement::CS_AVAILABLE);
    CORBA::Boolean inSync = false;
    ASSERT_TRUE((*found)[2].value >>= CORBA::Any::to_boolean(inSync));
    EXPECT_TRUE(inSync);
}

TEST_F(AnyValues, ExceptionComesOutAsItWentIn) {
    CORBA::Any any;
    any <<= globaldefs::ProcessingFailureException(globaldefs::EXCPT_ENTITY_NOT_FOUND, "me-8");
    EXPECT_EQ(typeIdOf(any), "IDL:mtnm.tmforum.org/globaldefs/ProcessingFailureException:1.0");
    const globaldefs::ProcessingFailureException* failure = nullptr;
    ASSERT_TRUE(any >>= failure);
    EXPECT_EQ(failure->exceptionType, globaldefs::EXCPT_ENTITY_NOT_FOUND);
    EXPECT_STREQ(failure->errorReason, "me-8");
}

TEST_F(AnyValues, ObjectOfACreationNotificationTravelsInTheBodyOfItsEvent) {
    notifications::EventList_T events;
    events.length(1);
    events[0].header.fixed_header.event_type.domain_name = "tmf_mtnm";
    events[0].header.fixed_header.event_type.type_name = "NT_OBJECT_CREATION";
    events[0].remainder_of_body <<= someElement();

    CORBA::Any any;
    any <<= events;
    const notifications::EventList_T* found = nullptr;
    ASSERT_TRUE(any >>= found);
    ASSERT_EQ(found->length(), 1U);
    EXPECT_STREQ((*found)[0].header.fixed_header.event_type.type_name, "NT_OBJECT_CREATION");
    const managedElement::ManagedElement_T* element = nullptr;
    ASSERT_TRUE((*found)[0].remainder_of_body >>= element);
    EXPECT_STREQ(element->nativeEMSName, "N7");
}

}  // namespace
