// Facts of the standard on which an NMS relies, one by one.

#include <gtest/gtest.h>
#include <mtnm/emsMgr.h>
#include <mtnm/emsSessionFactory.h>
#include <mtnm/equipment.h>
#include <mtnm/flowDomain.h>
#include <mtnm/guiCutThrough.h>
#include <mtnm/maintenanceOps.h>
#include <mtnm/managedElementManager.h>
#include <mtnm/nmsSession.h>
#include <mtnm/protection.h>
#include <mtnm/softwareAndDataManager.h>
#include <mtnm/trafficConditioningProfile.h>
#include <mtnm/trafficDescriptor.h>
#include <mtnm/transmissionDescriptor.h>

#include <string>
#include <type_traits>
#include <vector>

#include "type_code_text.h"

namespace {

std::string id(CORBA::TypeCode_ptr type) {
    return std::string(type->id());
}

std::vector<std::string> namesIn(CORBA::TypeCode_ptr type) {
    std::vector<std::string> names;
    for (CORBA::ULong i = 0; i < type->member_count(); ++i) {
        names.emplace_back(type->member_name(i));
    }
    return names;
}

template <class Base, class... Derived>
constexpr bool isBaseOfAll = (std::is_base_of_v<Base, Derived> && ...);

using Names = std::vector<std::string>;

TEST(RepositoryIds, AreThoseAClientNarrowsTo) {
    EXPECT_EQ(id(emsSessionFactory::_tc_EmsSessionFactory_I),
              "IDL:mtnm.tmforum.org/emsSessionFactory/EmsSessionFactory_I:1.0");
    EXPECT_EQ(id(emsSession::_tc_EmsSession_I), "IDL:mtnm.tmforum.org/emsSession/EmsSession_I:1.0");
    EXPECT_EQ(id(nmsSession::_tc_NmsSession_I), "IDL:mtnm.tmforum.org/nmsSession/NmsSession_I:1.0");
    EXPECT_EQ(id(session::_tc_Session_I), "IDL:mtnm.tmforum.org/session/Session_I:1.0");
    EXPECT_EQ(id(mtnmVersion::_tc_Version_I), "IDL:mtnm.tmforum.org/mtnmVersion/Version_I:1.0");
    EXPECT_EQ(id(common::_tc_Common_I), "IDL:mtnm.tmforum.org/common/Common_I:1.0");
    EXPECT_EQ(id(emsMgr::_tc_EMSMgr_I), "IDL:mtnm.tmforum.org/emsMgr/EMSMgr_I:1.0");
    EXPECT_EQ(id(managedElementManager::_tc_ManagedElementMgr_I),
              "IDL:mtnm.tmforum.org/managedElementManager/ManagedElementMgr_I:1.0");
}

TEST(RepositoryIds, OfTheExceptionIsThatOfTheStandard) {
    EXPECT_EQ(id(globaldefs::_tc_ProcessingFailureException),
              "IDL:mtnm.tmforum.org/globaldefs/ProcessingFailureException:1.0");
    const globaldefs::ProcessingFailureException failure(globaldefs::EXCPT_ACCESS_DENIED, "");
    EXPECT_STREQ(failure._rep_id(),
                 "IDL:mtnm.tmforum.org/globaldefs/ProcessingFailureException:1.0");
    EXPECT_STREQ(failure._name(), "ProcessingFailureException");
}

TEST(RepositoryIds, OfANestedTypeContainTheInterface) {
    EXPECT_EQ(id(emsSession::EmsSession_I::_tc_managerNames_T),
              "IDL:mtnm.tmforum.org/emsSession/EmsSession_I/managerNames_T:1.0");
}

TEST(RepositoryIds, OfOmgServicesKeepTheirOwnPrefix) {
    CORBA::TypeCode_var list = notifications::_tc_EventList_T->content_type();
    CORBA::TypeCode_var event = list->content_type();
    EXPECT_EQ(id(event.in()), "IDL:omg.org/CosNotification/StructuredEvent:1.0");
}

TEST(Inheritance, EveryManagerIsACommonInterface) {
    EXPECT_TRUE(
        (isBaseOfAll<POA_common::Common_I, POA_emsMgr::EMSMgr_I,
                     POA_managedElementManager::ManagedElementMgr_I,
                     POA_multiLayerSubnetwork::MultiLayerSubnetworkMgr_I,
                     POA_trafficDescriptor::TrafficDescriptorMgr_I,
                     POA_performance::PerformanceManagementMgr_I, POA_protection::ProtectionMgr_I,
                     POA_equipment::EquipmentInventoryMgr_I, POA_maintenanceOps::MaintenanceMgr_I,
                     POA_softwareAndDataManager::SoftwareAndDataMgr_I,
                     POA_transmissionDescriptor::TransmissionDescriptorMgr_I,
                     POA_guiCutThrough::GuiCutThroughMgr_I, POA_flowDomain::FlowDomainMgr_I,
                     POA_mLSNPPLink::MLSNPPLinkMgr_I, POA_mLSNPP::MLSNPPMgr_I,
                     POA_trafficConditioningProfile::TCProfileMgr_I>));
}

TEST(Inheritance, SessionsAndFactoryExtendTheirBases) {
    EXPECT_TRUE((isBaseOfAll<POA_session::Session_I, POA_emsSession::EmsSession_I,
                             POA_nmsSession::NmsSession_I>));
    EXPECT_TRUE(
        (isBaseOfAll<POA_mtnmVersion::Version_I, POA_emsSessionFactory::EmsSessionFactory_I>));
}

class SilentNmsSession : public POA_nmsSession::NmsSession_I {
  public:
    session::Session_I_ptr associatedSession() override { return session::Session_I::_nil(); }
    void ping() override {}
    void endSession() override {}
    void eventLossOccurred(const char*, const char*) override {}
    void eventLossCleared(const char*) override {}
    void alarmLossOccurred(const char*, const char*) override {}
};

TEST(Servants, AnswerIsAForTheirInterfaceAndItsBaseOnly) {
    PortableServer::ServantBase_var servant(new SilentNmsSession);
    EXPECT_TRUE(servant->_is_a("IDL:mtnm.tmforum.org/nmsSession/NmsSession_I:1.0"));
    EXPECT_TRUE(servant->_is_a("IDL:mtnm.tmforum.org/session/Session_I:1.0"));
    EXPECT_TRUE(servant->_is_a("IDL:omg.org/CORBA/Object:1.0"));
    EXPECT_FALSE(servant->_is_a("IDL:mtnm.tmforum.org/emsSession/EmsSession_I:1.0"));
    EXPECT_FALSE(servant->_is_a("IDL:nmsSession/NmsSession_I:1.0"));
}

TEST(Enumerators, OfExceptionTypesHaveTheNumbersOfTheStandard) {
    EXPECT_EQ(
        namesIn(globaldefs::_tc_ExceptionType_T),
        (Names{"EXCPT_NOT_IMPLEMENTED", "EXCPT_INTERNAL_ERROR", "EXCPT_INVALID_INPUT",
               "EXCPT_OBJECT_IN_USE", "EXCPT_TP_INVALID_ENDPOINT", "EXCPT_ENTITY_NOT_FOUND",
               "EXCPT_TIMESLOT_IN_USE", "EXCPT_PROTECTION_EFFORT_NOT_MET",
               "EXCPT_NOT_IN_VALID_STATE", "EXCPT_UNABLE_TO_COMPLY", "EXCPT_NE_COMM_LOSS",
               "EXCPT_CAPACITY_EXCEEDED", "EXCPT_ACCESS_DENIED", "EXCPT_TOO_MANY_OPEN_ITERATORS",
               "EXCPT_UNSUPPORTED_ROUTING_CONSTRAINTS", "EXCPT_USERLABEL_IN_USE"}));
    EXPECT_EQ(static_cast<int>(globaldefs::EXCPT_NOT_IMPLEMENTED), 0);
    EXPECT_EQ(static_cast<int>(globaldefs::EXCPT_ENTITY_NOT_FOUND), 5);
    EXPECT_EQ(static_cast<int>(globaldefs::EXCPT_UNABLE_TO_COMPLY), 9);
    EXPECT_EQ(static_cast<int>(globaldefs::EXCPT_ACCESS_DENIED), 12);
    EXPECT_EQ(static_cast<int>(globaldefs::EXCPT_TOO_MANY_OPEN_ITERATORS), 13);
    EXPECT_EQ(static_cast<int>(globaldefs::EXCPT_USERLABEL_IN_USE), 15);
}

TEST(Enumerators, OfObjectTypesStayAtRelease2) {
    EXPECT_EQ(namesIn(notifications::_tc_ObjectType_T),
              (Names{"OT_EMS", "OT_MANAGED_ELEMENT", "OT_MULTILAYER_SUBNETWORK",
                     "OT_TOPOLOGICAL_LINK", "OT_SUBNETWORK_CONNECTION",
                     "OT_PHYSICAL_TERMINATION_POINT", "OT_CONNECTION_TERMINATION_POINT",
                     "OT_TERMINATION_POINT_POOL", "OT_EQUIPMENT_HOLDER", "OT_EQUIPMENT",
                     "OT_PROTECTION_GROUP", "OT_TRAFFIC_DESCRIPTOR", "OT_AID"}));
    EXPECT_EQ(static_cast<int>(notifications::OT_EMS), 0);
    EXPECT_EQ(static_cast<int>(notifications::OT_EQUIPMENT), 9);
    EXPECT_EQ(static_cast<int>(notifications::OT_AID), 12);
}

TEST(Enumerators, OfAlarmFieldsHaveTheNumbersOfTheStandard) {
    EXPECT_EQ(namesIn(notifications::_tc_PerceivedSeverity_T),
              (Names{"PS_INDETERMINATE", "PS_CRITICAL", "PS_MAJOR", "PS_MINOR", "PS_WARNING",
                     "PS_CLEARED"}));
    EXPECT_EQ(static_cast<int>(notifications::PS_CRITICAL), 1);
    EXPECT_EQ(static_cast<int>(notifications::PS_CLEARED), 5);
    EXPECT_EQ(namesIn(notifications::_tc_ServiceAffecting_T),
              (Names{"SA_UNKNOWN", "SA_SERVICE_AFFECTING", "SA_NON_SERVICE_AFFECTING"}));
    EXPECT_EQ(namesIn(notifications::_tc_AcknowledgeIndication_T),
              (Names{"AI_EVENT_ACKNOWLEDGED", "AI_EVENT_UNACKNOWLEDGED", "AI_NA"}));
    EXPECT_EQ(namesIn(aSAP::_tc_AssignedSeverity_T),
              (Names{"AS_INDETERMINATE", "AS_CRITICAL", "AS_MAJOR", "AS_MINOR", "AS_WARNING",
                     "AS_NONALARMED", "AS_FREE_CHOICE"}));
}

TEST(Members, OfTheEmsAreInTheStandardsOrder) {
    EXPECT_EQ(typeCodeText(emsMgr::_tc_EMS_T),
              "struct { globaldefs::NamingAttributes_T name; string userLabel; string "
              "nativeEMSName; string owner; "
              "string emsVersion; string type; globaldefs::NVSList_T additionalInfo }");
}

TEST(Members, OfAManagedElementAreInTheStandardsOrder) {
    EXPECT_EQ(typeCodeText(managedElement::_tc_ManagedElement_T),
              "struct { globaldefs::NamingAttributes_T name; string userLabel; string "
              "nativeEMSName; string owner; "
              "string location; string version; string productName; "
              "managedElement::CommunicationState_T communicationState; boolean emsInSyncState; "
              "transmissionParameters::LayerRateList_T supportedRates; globaldefs::NVSList_T "
              "additionalInfo }");
}

TEST(Members, OfTheExceptionAreTypeAndReason) {
    EXPECT_EQ(typeCodeText(globaldefs::_tc_ProcessingFailureException),
              "exception { globaldefs::ExceptionType_T exceptionType; string errorReason }");
}

TEST(Members, OfAlarmAndTcaIdentifiersAreInTheStandardsOrder) {
    EXPECT_EQ(typeCodeText(notifications::_tc_AlarmId_T),
              "struct { globaldefs::NamingAttributes_T objectName; "
              "transmissionParameters::LayerRate_T layerRate; "
              "string probableCause; string probableCauseQualifier }");
    EXPECT_EQ(
        typeCodeText(notifications::_tc_TCAId_T),
        "struct { globaldefs::NamingAttributes_T objectName; transmissionParameters::LayerRate_T "
        "layerRate; "
        "performance::PMParameterName_T pmParameterName; performance::PMLocation_T pmLocation; "
        "performance::Granularity_T granularity }");
}

TEST(Members, OfAnEventAttributeAreNameAndAny) {
    EXPECT_EQ(typeCodeText(notifications::_tc_NameAndAnyValue_T),
              "struct { string name; any value }");
    EXPECT_EQ(typeCodeText(notifications::_tc_NVList_T),
              "typedef sequence<notifications::NameAndAnyValue_T>");
}

TEST(Aliases, OfNamesAndTimesAreKeptApartFromTheirBaseTypes) {
    EXPECT_EQ(typeCodeText(globaldefs::_tc_NamingAttributes_T), "typedef globaldefs::NVSList_T");
    EXPECT_EQ(typeCodeText(globaldefs::_tc_NVSList_T),
              "typedef sequence<globaldefs::NameAndStringValue_T>");
    EXPECT_EQ(typeCodeText(globaldefs::_tc_Time_T), "typedef string");
    EXPECT_EQ(typeCodeText(transmissionParameters::_tc_LayerRate_T), "typedef short");
    EXPECT_TRUE(globaldefs::_tc_Time_T->equivalent(CORBA::_tc_string));
    EXPECT_FALSE(globaldefs::_tc_Time_T->equal(CORBA::_tc_string));
}

TEST(Unions, AreSwitchedByTheirQualifier) {
    CORBA::Any_var first = notifications::_tc_AlarmOrTCAIdentifier_T->member_label(0);
    CORBA::Any_var second = notifications::_tc_AlarmOrTCAIdentifier_T->member_label(1);
    notifications::AlarmTypeQualifier_T label = notifications::TCA;
    ASSERT_TRUE(first.in() >>= label);
    EXPECT_EQ(label, notifications::ALARM);
    ASSERT_TRUE(second.in() >>= label);
    EXPECT_EQ(label, notifications::TCA);
    EXPECT_STREQ(notifications::_tc_AlarmOrTCAIdentifier_T->member_name(0), "alarmId");
    EXPECT_STREQ(notifications::_tc_AlarmOrTCAIdentifier_T->member_name(1), "tcaId");
    EXPECT_EQ(static_cast<int>(notifications::ALARM), 0);
    EXPECT_EQ(static_cast<int>(equipment::EQT), 0);
    EXPECT_EQ(static_cast<int>(equipment::EQT_HOLDER), 1);
}

}  // namespace
