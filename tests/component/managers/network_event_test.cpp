// The events of changed inventories field by field, as an NMS reads them.

#include "common/network_event.h"

#include "managed_element_fixture.h"

namespace kelp::test {
namespace {

using inventory::ObjectChange;
using testing::IsEmpty;
using testing::SizeIs;

class NetworkEvents : public ManagedElementTest {
  protected:
    NetworkEvents() : feed_(database()) {}

    /// Change the inventory and keep what an NMS is notified of.
    void changeTo(const std::string& network, bool isReplacing = false) {
        inventory::ImportOptions options;
        options.replace = isReplacing;
        ASSERT_EQ(
            inventory::importInventory(database(), folder_.write("network.jsonl", network), options)
                .problemCount,
            0u);
        readChanges();
    }
    void readChanges() {
        changes_.clear();
        for (const ObjectChange& change : feed_.next(1000)) {
            for (managers::KeyedNetworkChange& each : managers::networkChanges(change))
                changes_.push_back(std::move(each));
            feed_.handedOver(change);
        }
    }
    /// The event about the object with that name, without the EMS. Its header is checked.
    const CosNotification::StructuredEvent& eventOf(const char* type, const std::string& object) {
        for (const managers::KeyedNetworkChange& each : changes_) {
            event_ = new CosNotification::StructuredEvent;
            managers::fillNetworkEvent(event_.inout(), each.change, "1732", "20240105030406.0Z");
            const globaldefs::NamingAttributes_T* name = nullptr;
            if (event_->header.fixed_header.event_type.type_name.in() != std::string_view(type) ||
                !(event_->filterable_data[1].value >>= name) ||
                textOf(*name) != "EMS=Kelp/EMS" + object)
                continue;
            EXPECT_STREQ(event_->header.fixed_header.event_type.domain_name, "tmf_mtnm");
            EXPECT_STREQ(event_->header.fixed_header.event_name, "");
            EXPECT_EQ(event_->header.variable_header.length(), 0u);
            return event_.in();
        }
        ADD_FAILURE() << "no " << type << " about" << object;
        event_ = new CosNotification::StructuredEvent;
        return event_.in();
    }
    std::vector<std::string> fieldNames() const {
        std::vector<std::string> names;
        for (CORBA::ULong i = 0; i < event_->filterable_data.length(); ++i)
            names.emplace_back(event_->filterable_data[i].name.in());
        return names;
    }
    /// Return a field. It must have this type.
    const CORBA::Any& field(CORBA::ULong place, CORBA::TypeCode_ptr type) {
        const CORBA::Any& value = event_->filterable_data[place].value;
        const CORBA::TypeCode_var actual = value.type();
        EXPECT_TRUE(actual->equal(type)) << event_->filterable_data[place].name.in();
        return value;
    }
    /// Check the fields that all events have, in their order and with their types.
    void expectCommonFields(notifications::ObjectType_T type,
                            const std::vector<std::string>& further) {
        std::vector<std::string> names = {"notificationId", "objectName", "objectType", "emsTime"};
        names.insert(names.end(), further.begin(), further.end());
        ASSERT_EQ(fieldNames(), names);
        const char* text = nullptr;
        ASSERT_TRUE(field(0, CORBA::_tc_string) >>= text);
        EXPECT_STREQ(text, "1732");
        const globaldefs::NamingAttributes_T* name = nullptr;
        ASSERT_TRUE(field(1, globaldefs::_tc_NVSList_T) >>= name);
        notifications::ObjectType_T actual{};
        ASSERT_TRUE(field(2, notifications::_tc_ObjectType_T) >>= actual);
        EXPECT_EQ(actual, type);
        ASSERT_TRUE(field(3, CORBA::_tc_string) >>= text);
        EXPECT_STREQ(text, "20240105030406.0Z");
    }
    void expectEdgePoint() {
        CORBA::Boolean isRelated = false;
        ASSERT_TRUE(field(4, CORBA::_tc_boolean) >>= CORBA::Any::to_boolean(isRelated));
        EXPECT_TRUE(isRelated);
    }
    template <class Structure>
    const Structure& body(CORBA::TypeCode_ptr type) {
        static const Structure none{};
        const CORBA::TypeCode_var actual = event_->remainder_of_body.type();
        EXPECT_TRUE(actual->equal(type));
        const Structure* structure = nullptr;
        EXPECT_TRUE(event_->remainder_of_body >>= structure);
        return structure == nullptr ? none : *structure;
    }
    void expectNoBody() {
        const CORBA::TypeCode_var type = event_->remainder_of_body.type();
        EXPECT_EQ(type->kind(), CORBA::tk_null);
    }
    /// "name" and type of each changed attribute.
    const notifications::NVList_T& attributes() {
        static const notifications::NVList_T none;
        const notifications::NVList_T* list = nullptr;
        const CORBA::ULong last = event_->filterable_data.length() - 1;
        EXPECT_TRUE(field(last, notifications::_tc_NVList_T) >>= list);
        return list == nullptr ? none : *list;
    }
    void expectAttributes(
        const std::vector<std::pair<std::string, CORBA::TypeCode_ptr>>& expected) {
        const notifications::NVList_T& list = attributes();
        ASSERT_EQ(list.length(), expected.size());
        for (CORBA::ULong i = 0; i < list.length(); ++i) {
            EXPECT_EQ(list[i].name.in(), expected[i].first);
            const CORBA::TypeCode_var type = list[i].value.type();
            EXPECT_TRUE(type->equal(expected[i].second)) << expected[i].first;
        }
    }

    inventory::ChangeFeed feed_;
    std::vector<managers::KeyedNetworkChange> changes_;
    CosNotification::StructuredEvent_var event_;
};

TEST_F(NetworkEvents, ACreationCarriesTheStandardsStructure) {
    changeTo(
        R"({"object":"ManagedElement","ManagedElement":"C","productName":"P3","supportedRates":[15]}
{"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"S"}
{"object":"EquipmentHolder","ManagedElement":"C","EquipmentHolder":"/rack=1"}
{"object":"Equipment","ManagedElement":"C","EquipmentHolder":"/rack=1","Equipment":"1","installedSerialNumber":"7"}
{"object":"TerminationPoint","ManagedElement":"C","PTP":"p1","transmissionParams":{"47":{"Trace":"x"}},"edgePoint":true}
{"object":"TerminationPoint","ManagedElement":"C","PTP":"p1","CTP":"/sts3c_au4-j=1","transmissionParams":[15]}
{"object":"TerminationPoint","ManagedElement":"C","FTP":"f1","transmissionParams":[47]}
{"object":"TopologicalLink","TopologicalLink":"B-C","rate":22,"aEndManagedElement":"B","aEndPTP":"p1","zEndManagedElement":"C","zEndPTP":"p1"})");
    EXPECT_THAT(changes_, SizeIs(7)) << "the standard has no creation of a CTP";

    eventOf("NT_OBJECT_CREATION", " ManagedElement=C");
    expectCommonFields(notifications::OT_MANAGED_ELEMENT, {});
    const auto& element =
        body<managedElement::ManagedElement_T>(managedElement::_tc_ManagedElement_T);
    EXPECT_EQ(textOf(element.name), "EMS=Kelp/EMS ManagedElement=C");
    EXPECT_STREQ(element.productName, "P3");
    EXPECT_EQ(element.supportedRates[0], 15);

    eventOf("NT_OBJECT_CREATION", " MultiLayerSubnetwork=S");
    expectCommonFields(notifications::OT_MULTILAYER_SUBNETWORK, {});
    EXPECT_STREQ(body<multiLayerSubnetwork::MultiLayerSubnetwork_T>(
                     multiLayerSubnetwork::_tc_MultiLayerSubnetwork_T)
                     .userLabel,
                 "S");
    eventOf("NT_OBJECT_CREATION", " ManagedElement=C EquipmentHolder=/rack=1");
    expectCommonFields(notifications::OT_EQUIPMENT_HOLDER, {});
    EXPECT_STREQ(body<equipment::EquipmentHolder_T>(equipment::_tc_EquipmentHolder_T).holderType,
                 "rack");
    eventOf("NT_OBJECT_CREATION", " ManagedElement=C EquipmentHolder=/rack=1 Equipment=1");
    expectCommonFields(notifications::OT_EQUIPMENT, {});
    EXPECT_STREQ(body<equipment::Equipment_T>(equipment::_tc_Equipment_T).installedSerialNumber,
                 "7");
    eventOf("NT_OBJECT_CREATION", " ManagedElement=C PTP=p1");
    expectCommonFields(notifications::OT_PHYSICAL_TERMINATION_POINT, {"edgePointRelated"});
    expectEdgePoint();
    EXPECT_STREQ(
        body<terminationPoint::TerminationPoint_T>(terminationPoint::_tc_TerminationPoint_T)
            .transmissionParams[0]
            .transmissionParams[0]
            .value,
        "x");
    eventOf("NT_OBJECT_CREATION", " ManagedElement=C FTP=f1");
    expectCommonFields(notifications::OT_PHYSICAL_TERMINATION_POINT, {});
    eventOf("NT_OBJECT_CREATION", " TopologicalLink=B-C");
    expectCommonFields(notifications::OT_TOPOLOGICAL_LINK, {});
    EXPECT_EQ(
        textOf(body<topologicalLink::TopologicalLink_T>(topologicalLink::_tc_TopologicalLink_T)
                   .zEndTP),
        "EMS=Kelp/EMS ManagedElement=C PTP=p1");
}

TEST_F(NetworkEvents, ADeletionNamesTheObjectOnly) {
    changeTo(
        R"({"object":"ManagedElement","ManagedElement":"B","productName":"P2","userLabel":"second"})",
        true);
    eventOf("NT_OBJECT_DELETION", " ManagedElement=A PTP=p1");
    expectCommonFields(notifications::OT_PHYSICAL_TERMINATION_POINT, {"edgePointRelated"});
    expectEdgePoint();
    expectNoBody();
    eventOf("NT_OBJECT_DELETION", " TopologicalLink=A-B");
    expectCommonFields(notifications::OT_TOPOLOGICAL_LINK, {});
    expectNoBody();
    eventOf("NT_OBJECT_DELETION",
            " ManagedElement=A EquipmentHolder=/rack=1/shelf=1/slot=1 Equipment=1");
    expectCommonFields(notifications::OT_EQUIPMENT, {});
    EXPECT_THAT(changes_, SizeIs(10)) << "the standard has no deletion of a CTP";
}

TEST_F(NetworkEvents, ALabelThatAnNmsSetIsAnAttributeValueChange) {
    manager_->setUserLabel(nameOf({{"ManagedElement", "A"}, {"PTP", "p1"}}), "München", false);
    readChanges();
    ASSERT_THAT(changes_, SizeIs(1));
    eventOf("NT_ATTRIBUTE_VALUE_CHANGE", " ManagedElement=A PTP=p1");
    expectCommonFields(notifications::OT_PHYSICAL_TERMINATION_POINT,
                       {"edgePointRelated", "attributeList"});
    expectNoBody();
    expectAttributes({{"userLabel", CORBA::_tc_string}});
    const char* label = nullptr;
    ASSERT_TRUE(attributes()[0].value >>= label);
    EXPECT_STREQ(label, "München");
}

TEST_F(NetworkEvents, StatesAndOtherAttributesAreSeparateEvents) {
    changeTo(
        R"({"object":"ManagedElement","ManagedElement":"A","owner":"them","communicationState":"CS_AVAILABLE","emsInSyncState":true})");
    ASSERT_THAT(changes_, SizeIs(2));
    EXPECT_NE(changes_[0].key, changes_[1].key);
    eventOf("NT_ATTRIBUTE_VALUE_CHANGE", " ManagedElement=A");
    expectCommonFields(notifications::OT_MANAGED_ELEMENT, {"attributeList"});
    expectAttributes({{"owner", CORBA::_tc_string}});
    eventOf("NT_STATE_CHANGE", " ManagedElement=A");
    expectCommonFields(notifications::OT_MANAGED_ELEMENT, {"attributeList"});
    expectAttributes({{"communicationState", managedElement::_tc_CommunicationState_T},
                      {"emsInSyncState", CORBA::_tc_boolean}});
    managedElement::CommunicationState_T state{};
    ASSERT_TRUE(attributes()[0].value >>= state);
    EXPECT_EQ(state, managedElement::CS_AVAILABLE);
    CORBA::Boolean isInSync = false;
    ASSERT_TRUE(attributes()[1].value >>= CORBA::Any::to_boolean(isInSync));
    EXPECT_TRUE(isInSync);
}

TEST_F(NetworkEvents, EveryAttributeHasTheTypeOfItsMember) {
    changeTo(
        R"({"object":"ManagedElement","ManagedElement":"A","nativeEMSName":"n","location":"l","version":"v","productName":"p","supportedRates":[11],"additionalInfo":{"Manufacturer":"New"}}
{"object":"EquipmentHolder","ManagedElement":"A","EquipmentHolder":"/rack=1/shelf=1/slot=1","alarmReportingIndicator":false,"expectedOrInstalledEquipment":"2","acceptableEquipmentTypeList":["X"],"holderState":"EMPTY"}
{"object":"Equipment","ManagedElement":"A","EquipmentHolder":"/rack=1/shelf=1/slot=1","Equipment":"1","alarmReportingIndicator":false,"serviceState":"IN_SERVICE","expectedEquipmentObjectType":"e","installedEquipmentObjectType":"i","installedPartNumber":"pn","installedVersion":"iv","installedSerialNumber":"sn"}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p2","ingressTrafficDescriptorName":"in","egressTrafficDescriptorName":"out","connectionState":"TPCS_NOT_CONNECTED","tpMappingMode":"TM_TERMINATED_AND_AVAILABLE_FOR_MAPPING","direction":"D_SOURCE","transmissionParams":{"LR_E1_2M":{"a":"b"}},"tpProtectionAssociation":"TPPA_PSR_RELATED","edgePoint":true}
{"object":"TopologicalLink","TopologicalLink":"A-B","rate":21,"direction":"CD_UNI","aEndManagedElement":"A","aEndPTP":"p2","zEndManagedElement":"A","zEndPTP":"p1"}
{"object":"EMS","userLabel":"the EMS","owner":"o","additionalInfo":{"a":"b"}})");
    eventOf("NT_ATTRIBUTE_VALUE_CHANGE", " ManagedElement=A");
    expectAttributes({{"nativeEMSName", CORBA::_tc_string},
                      {"location", CORBA::_tc_string},
                      {"version", CORBA::_tc_string},
                      {"productName", CORBA::_tc_string},
                      {"supportedRates", transmissionParameters::_tc_LayerRateList_T},
                      {"additionalInfo", globaldefs::_tc_NVSList_T}});
    eventOf("NT_ATTRIBUTE_VALUE_CHANGE",
            " ManagedElement=A EquipmentHolder=/rack=1/shelf=1/slot=1");
    expectAttributes({{"alarmReportingIndicator", CORBA::_tc_boolean},
                      {"expectedOrInstalledEquipment", globaldefs::_tc_NVSList_T},
                      {"acceptableEquipmentTypeList", equipment::_tc_EquipmentObjectTypeList_T}});
    eventOf("NT_STATE_CHANGE", " ManagedElement=A EquipmentHolder=/rack=1/shelf=1/slot=1");
    expectAttributes({{"holderState", equipment::_tc_HolderState_T}});
    const std::string board =
        " ManagedElement=A EquipmentHolder=/rack=1/shelf=1/slot=1 Equipment=1";
    eventOf("NT_ATTRIBUTE_VALUE_CHANGE", board);
    expectAttributes({{"alarmReportingIndicator", CORBA::_tc_boolean},
                      {"expectedEquipmentObjectType", CORBA::_tc_string},
                      {"installedEquipmentObjectType", CORBA::_tc_string},
                      {"installedPartNumber", CORBA::_tc_string},
                      {"installedVersion", CORBA::_tc_string},
                      {"installedSerialNumber", CORBA::_tc_string}});
    eventOf("NT_STATE_CHANGE", board);
    expectAttributes({{"serviceState", equipment::_tc_ServiceState_T}});
    eventOf("NT_ATTRIBUTE_VALUE_CHANGE", " ManagedElement=A PTP=p2");
    expectAttributes({{"ingressTrafficDescriptorName", globaldefs::_tc_NVSList_T},
                      {"egressTrafficDescriptorName", globaldefs::_tc_NVSList_T},
                      {"tpMappingMode", terminationPoint::_tc_TerminationMode_T},
                      {"direction", terminationPoint::_tc_Directionality_T},
                      {"transmissionParams", transmissionParameters::_tc_LayeredParameterList_T},
                      {"tpProtectionAssociation", terminationPoint::_tc_TPProtectionAssociation_T},
                      {"edgePoint", CORBA::_tc_boolean}});
    eventOf("NT_STATE_CHANGE", " ManagedElement=A PTP=p2");
    expectAttributes({{"connectionState", terminationPoint::_tc_TPConnectionState_T}});
    eventOf("NT_ATTRIBUTE_VALUE_CHANGE", " TopologicalLink=A-B");
    expectAttributes({{"direction", globaldefs::_tc_ConnectionDirection_T},
                      {"rate", CORBA::_tc_short},
                      {"aEndTP", globaldefs::_tc_NVSList_T},
                      {"zEndTP", globaldefs::_tc_NVSList_T}});
    eventOf("NT_ATTRIBUTE_VALUE_CHANGE", "");
    expectCommonFields(notifications::OT_EMS, {"attributeList"});
    expectAttributes({{"userLabel", CORBA::_tc_string},
                      {"owner", CORBA::_tc_string},
                      {"additionalInfo", globaldefs::_tc_NVSList_T}});
}

TEST_F(NetworkEvents, AConnectionPointHasItsObjectType) {
    changeTo(
        R"({"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","CTP":"/sts3c_au4-j=1","owner":"x"})");
    eventOf("NT_ATTRIBUTE_VALUE_CHANGE", " ManagedElement=A PTP=p1 CTP=/sts3c_au4-j=1");
    expectCommonFields(notifications::OT_CONNECTION_TERMINATION_POINT, {"attributeList"});
}

TEST_F(NetworkEvents, LostChangesAndDamagedContentsGiveNoEvent) {
    ObjectChange lost;
    lost.operation = ObjectChange::Operation::Lost;
    EXPECT_THAT(managers::networkChanges(lost), IsEmpty());
    alarms::NetworkChange damaged;
    damaged.objectName = {{"EMS", "Kelp/EMS"}};
    damaged.content = "{";
    CosNotification::StructuredEvent event;
    EXPECT_THROW(managers::fillNetworkEvent(event, damaged, "1", ""), inventory::InventoryFailure);
}

}  // namespace
}  // namespace kelp::test
