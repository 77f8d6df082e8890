// The check of encoded parameters, applied to the ORB's encoding of this product's events and
// types.

#include <cos/CosNotifyChannelAdmin.h>
#include <gtest/gtest.h>
#include <kelp/orb/references.h>
#include <mtnm/callSNC.h>
#include <mtnm/equipment.h>
#include <mtnm/flowDomain.h>
#include <mtnm/maintenanceOps.h>
#include <mtnm/managedElementManager.h>
#include <mtnm/multiLayerSubnetwork.h>
#include <mtnm/notifications.h>
#include <mtnm/performance.h>
#include <mtnm/protection.h>
#include <mtnm/softwareAndDataManager.h>
#include <mtnm/trafficDescriptor.h>

#include "component/orb/giop_recorder.h"
#include "recorded_arguments.h"
#include "support/orb_fixture.h"

namespace {

using namespace kelp::test;
using kelp::orb::giop::ArgumentLimits;
using kelp::orb::giop::ArgumentVerdict;
using kelp::orb::giop::textOf;

class ArgumentCheck : public testing::TestWithParam<const char*> {
  protected:
    RunningOrb orb_;
    GiopRecorder recorder_;

    template <class Interface>
    typename Interface::_var_type consumer() {
        const CORBA::Object_var object =
            kelp::orb::toReference(orb_.orb(), recorder_.corbaloc(GetParam()));
        return Interface::_unchecked_narrow(object.in());
    }

    /// Check the last request with a half or a quarter of the real limits, so that new types of the
    /// interface have room.
    testing::AssertionResult lastIsFine(const std::string& operation) const {
        ArgumentLimits limits;
        limits.depthMax /= 2;
        limits.anyDepthMax /= 2;
        limits.typesMax /= 4;
        limits.typeOctetsMax /= 4;
        limits.workPerOctet /= 4;
        limits.workBase = 0;
        const RecordedArguments recorded(recorder_.lastRequest(), recorder_.lastFragments());
        if (recorded.operation() != operation)
            return testing::AssertionFailure() << "operation " << recorded.operation();
        const ArgumentVerdict verdict = recorded.verdict(limits);
        if (verdict != ArgumentVerdict::Fine)
            return testing::AssertionFailure() << textOf(verdict);
        return testing::AssertionSuccess();
    }

    testing::AssertionResult isFine(const CORBA::Any& any) {
        consumer<CosEventComm::PushConsumer>()->push(any);
        return lastIsFine("push");
    }

    template <class Type>
    testing::AssertionResult isFineIn(const Type& value) {
        CORBA::Any any;
        any <<= value;
        return isFine(any);
    }
};

globaldefs::NamingAttributes_T name() {
    globaldefs::NamingAttributes_T name;
    name.length(2);
    for (CORBA::ULong i = 0; i < 2; ++i) {
        name[i].name = CORBA::string_dup("ManagedElement");
        name[i].value = CORBA::string_dup("a value");
    }
    return name;
}

template <class List>
List listOf(CORBA::ULong length) {
    List list;
    list.length(length);
    return list;
}

CosNotification::PropertySeq properties() {
    auto properties = listOf<CosNotification::PropertySeq>(9);
    for (CORBA::ULong i = 0; i < properties.length(); ++i)
        properties[i].name = CORBA::string_dup(std::string(i, 'p').c_str());
    properties[0].value <<= "text";
    properties[1].value <<= CORBA::Short(4);
    properties[2].value <<= CORBA::ULongLong(5);
    properties[3].value <<= CORBA::Any::from_boolean(true);
    properties[4].value <<= name();
    properties[5].value <<= notifications::PS_CRITICAL;
    properties[6].value <<= listOf<notifications::NVList_T>(3);
    properties[7].value <<= listOf<notifications::SpecificProblemList_T>(2);
    return properties;
}

CosNotification::StructuredEvent event() {
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    event.header.fixed_header.event_type.type_name = CORBA::string_dup("NT_ALARM");
    event.header.variable_header = properties();
    event.filterable_data = properties();
    managedElement::ManagedElement_T element;
    element.name = name();
    event.remainder_of_body <<= element;
    return event;
}

TEST_P(ArgumentCheck, EventsAreFine) {
    consumer<CosNotifyComm::StructuredPushConsumer>()->push_structured_event(event());
    EXPECT_TRUE(lastIsFine("push_structured_event"));
    auto batch = listOf<CosNotification::EventBatch>(20);
    for (CORBA::ULong i = 0; i < batch.length(); ++i)
        batch[i] = event();
    consumer<CosNotifyComm::SequencePushConsumer>()->push_structured_events(batch);
    EXPECT_TRUE(lastIsFine("push_structured_events"));
    batch.length(0);
    consumer<CosNotifyComm::SequencePushConsumer>()->push_structured_events(batch);
    EXPECT_TRUE(lastIsFine("push_structured_events"));
    EXPECT_TRUE(isFineIn(event()));
    EXPECT_TRUE(isFine(CORBA::Any()));
}

TEST_P(ArgumentCheck, EventsWithinEventsAreFine) {
    auto outer = event();
    outer.remainder_of_body <<= event();
    EXPECT_TRUE(isFineIn(outer));
}

TEST_P(ArgumentCheck, QualitiesOfServiceAreFine) {
    const auto admin = consumer<CosNotifyChannelAdmin::EventChannel>();
    admin->set_qos(properties());
    EXPECT_TRUE(lastIsFine("set_qos"));
    admin->set_admin(properties());
    EXPECT_TRUE(lastIsFine("set_admin"));
    const auto factory = consumer<CosNotifyChannelAdmin::EventChannelFactory>();
    CosNotifyChannelAdmin::ChannelID id = 0;
    try {
        const CosNotifyChannelAdmin::EventChannel_var made =
            factory->create_channel(properties(), properties(), id);
    } catch (const CORBA::SystemException&) {  // the recorder's reply is empty
    }
    EXPECT_TRUE(lastIsFine("create_channel"));
}

TEST_P(ArgumentCheck, FiltersAreFine) {
    const auto mapping = consumer<CosNotifyFilter::MappingFilter>();
    auto pairs = listOf<CosNotifyFilter::MappingConstraintPairSeq>(2);
    for (CORBA::ULong i = 0; i < pairs.length(); ++i) {
        pairs[i].constraint_expression.event_types.length(2);
        pairs[i].constraint_expression.constraint_expr = CORBA::string_dup("$severity > 2");
        pairs[i].result_to_set <<= CORBA::Short(2);
    }
    try {
        const CosNotifyFilter::MappingConstraintInfoSeq_var made =
            mapping->add_mapping_constraints(pairs);
    } catch (const CORBA::SystemException&) {
    }
    EXPECT_TRUE(lastIsFine("add_mapping_constraints"));
    const auto filter = consumer<CosNotifyFilter::Filter>();
    try {
        filter->match_structured(event());
    } catch (const CORBA::SystemException&) {
    }
    EXPECT_TRUE(lastIsFine("match_structured"));
    try {
        filter->match_typed(properties());
    } catch (const CORBA::SystemException&) {
    }
    EXPECT_TRUE(lastIsFine("match_typed"));
}

TEST_P(ArgumentCheck, ObjectsOfTheInterfaceAreFine) {
    EXPECT_TRUE(isFineIn(listOf<managedElement::ManagedElementList_T>(2)));
    EXPECT_TRUE(isFineIn(listOf<terminationPoint::TerminationPointList_T>(2)));
    EXPECT_TRUE(isFineIn(listOf<topologicalLink::TopologicalLinkList_T>(2)));
    EXPECT_TRUE(isFineIn(listOf<subnetworkConnection::SubnetworkConnectionList_T>(2)));
    EXPECT_TRUE(isFineIn(listOf<multiLayerSubnetwork::SubnetworkList_T>(2)));
    EXPECT_TRUE(isFineIn(listOf<protection::ProtectionGroupList_T>(2)));
    EXPECT_TRUE(isFineIn(listOf<protection::EProtectionGroupList_T>(2)));
    EXPECT_TRUE(isFineIn(listOf<performance::PMDataList_T>(2)));
    EXPECT_TRUE(isFineIn(listOf<flowDomain::FDList_T>(2)));
    EXPECT_TRUE(isFineIn(listOf<callSNC::CallAndTopLevelConnectionsAndSNCsList_T>(2)));
    EXPECT_TRUE(isFineIn(subnetworkConnection::SNCCreateData_T()));
    equipment::EquipmentOrHolder_T equipment;
    equipment.equip(equipment::Equipment_T());
    EXPECT_TRUE(isFineIn(equipment));
    equipment.holder(equipment::EquipmentHolder_T());
    EXPECT_TRUE(isFineIn(equipment));
}

TEST_P(ArgumentCheck, TypesOfTheInterfaceAreFine) {
    for (const CORBA::TypeCode_ptr type :
         {notifications::_tc_EventList_T, terminationPoint::_tc_GTPlist_T,
          callSNC::_tc_SNCAndRouteList_T, callSNC::_tc_CallAndTopLevelConnectionsAndSNCsList_T,
          equipment::_tc_EquipmentOrHolderList_T, flowDomainFragment::_tc_FDFrRoute_T,
          flowDomainFragment::_tc_FDFrCreateData_T, protection::_tc_ProtectionGroupList_T,
          performance::_tc_PMTPSelectList_T, trafficDescriptor::_tc_TrafficDescriptorList_T,
          maintenanceOps::_tc_CurrentMaintenanceOperationList_T,
          softwareAndDataManager::_tc_BackupIdList_T, CosNotification::_tc_EventBatch,
          globaldefs::_tc_ProcessingFailureException, CosNotifyChannelAdmin::_tc_EventChannel}) {
        CORBA::Any any;
        any <<= type;
        EXPECT_TRUE(isFine(any)) << type->name();
    }
}

TEST_P(ArgumentCheck, ValuesOfEveryKindAreFine) {
    EXPECT_TRUE(isFineIn(CORBA::Long(-1)));
    EXPECT_TRUE(isFineIn(CORBA::LongLong(-1)));
    EXPECT_TRUE(isFineIn(CORBA::Float(1.5)));
    EXPECT_TRUE(isFineIn(CORBA::Double(1.5)));
    EXPECT_TRUE(isFineIn(CORBA::LongDouble(1.5)));
    EXPECT_TRUE(isFineIn(CORBA::Any::from_char('c')));
    EXPECT_TRUE(isFineIn(CORBA::Any::from_octet(200)));
    EXPECT_TRUE(isFineIn(CORBA::Any::from_fixed(CORBA::Fixed("-12.345"), 5, 3)));
    const CORBA::Object_var object = kelp::orb::toReference(orb_.orb(), recorder_.corbaloc("1.2"));
    EXPECT_TRUE(isFineIn(object.in()));
    EXPECT_TRUE(isFineIn(CORBA::Object::_nil()));
    const CosNotification::UnsupportedQoS exception(listOf<CosNotification::PropertyErrorSeq>(2));
    EXPECT_TRUE(isFineIn(exception));
}

TEST_P(ArgumentCheck, RecursiveTypesAreFine) {
    CORBA::StructMemberSeq members;
    members.length(2);
    members[0].name = CORBA::string_dup("name");
    members[0].type = CORBA::TypeCode::_duplicate(CORBA::_tc_string);
    members[1].name = CORBA::string_dup("children");
    const CORBA::TypeCode_var itself = orb_.orb()->create_recursive_tc("IDL:test/Node:1.0");
    members[1].type = orb_.orb()->create_sequence_tc(0, itself.in());
    const CORBA::TypeCode_var node =
        orb_.orb()->create_struct_tc("IDL:test/Node:1.0", "Node", members);
    EXPECT_TRUE(isFineIn(node.in()));
}

INSTANTIATE_TEST_SUITE_P(Giop, ArgumentCheck, testing::Values("1.0", "1.1", "1.2"),
                         [](const auto& about) {
                             return std::string("Version1") + about.param[2];
                         });

}  // namespace
