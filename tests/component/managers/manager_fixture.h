#pragma once

#include <gmock/gmock.h>
#include <kelp/inventory/transfer.h>
#include <mtnm/managedElement.h>
#include <mtnm/terminationPoint.h>

#include <string>
#include <vector>

#include "common/manager_bundle.h"
#include "support/agent_fixture.h"
#include "support/temporary_directory.h"

namespace kelp::test {

using globaldefs::NamingAttributes_T;
using globaldefs::NamingAttributesIterator_I_var;
using globaldefs::NamingAttributesList_T_var;

/// Two elements and a link. Element "A" has ports at two rates, a floating port, and connection
/// points in its first port. The connected connection point hides the one inside it.
inline const char* const kNetwork =
    R"({"object":"ManagedElement","ManagedElement":"A","productName":"P1","userLabel":"first","location":"Here","version":"R1","owner":"us","supportedRates":[15,11],"communicationState":"CS_UNAVAILABLE","emsInSyncState":false,"additionalInfo":{"Manufacturer":"Acme"}}
{"object":"ManagedElement","ManagedElement":"B","productName":"P2","userLabel":"second"}
{"object":"EquipmentHolder","ManagedElement":"A","EquipmentHolder":"/rack=1"}
{"object":"EquipmentHolder","ManagedElement":"A","EquipmentHolder":"/rack=1/shelf=1"}
{"object":"EquipmentHolder","ManagedElement":"A","EquipmentHolder":"/rack=1/shelf=1/slot=1","holderType":"slot","holderState":"INSTALLED_AND_EXPECTED","expectedOrInstalledEquipment":"1","acceptableEquipmentTypeList":["LN16","LN4"]}
{"object":"Equipment","ManagedElement":"A","EquipmentHolder":"/rack=1/shelf=1/slot=1","Equipment":"1","serviceState":"OUT_OF_SERVICE","installedSerialNumber":"7"}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","transmissionParams":{"LR_PHYSICAL_OPTICAL":{},"22":{"Trace":"x"}},"connectableRates":[15],"edgePoint":true,"ingressTrafficDescriptorName":"gold","supportingEquipmentHolder":"/rack=1/shelf=1/slot=1","supportingEquipment":"1"}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p2","transmissionParams":["LR_E1_2M"],"connectableRates":[11]}
{"object":"TerminationPoint","ManagedElement":"A","FTP":"f1","transmissionParams":["LR_Encapsulation"]}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","CTP":"/sts3c_au4-j=1","transmissionParams":[15],"connectionState":"TPCS_BI_CONNECTED","tpMappingMode":"TM_NEITHER_TERMINATED_NOR_AVAILABLE_FOR_MAPPING"}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","CTP":"/sts3c_au4-j=1/vt2_tu12-k=1","transmissionParams":[11]}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","CTP":"/sts3c_au4-j=2","transmissionParams":[15],"tpMappingMode":"TM_TERMINATED_AND_AVAILABLE_FOR_MAPPING","connectionState":"TPCS_NOT_CONNECTED"}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","CTP":"/sts3c_au4-j=2/vt2_tu12-k=1","transmissionParams":[11],"connectionState":"TPCS_SINK_CONNECTED"}
{"object":"TerminationPoint","ManagedElement":"B","PTP":"p1","transmissionParams":[47]}
{"object":"TopologicalLink","TopologicalLink":"A-B","rate":22,"direction":"CD_BI","aEndManagedElement":"A","aEndPTP":"p1","zEndManagedElement":"B","zEndPTP":"p1","userLabel":"the link"}
)";

/// A component of a name below the EMS: nameOf({"ManagedElement", "A"}, {"PTP", "p1"}).
struct Component {
    const char* name;
    const char* value;
};
inline NamingAttributes_T nameOf(std::initializer_list<Component> components) {
    NamingAttributes_T name;
    name.length(static_cast<CORBA::ULong>(components.size()) + 1);
    name[0].name = CORBA::string_dup("EMS");
    name[0].value = CORBA::string_dup("Kelp/EMS");
    CORBA::ULong at = 0;
    for (const Component& component : components) {
        ++at;
        name[at].name = CORBA::string_dup(component.name);
        name[at].value = CORBA::string_dup(component.value);
    }
    return name;
}

/// Return the name as text: "EMS=Kelp/EMS ManagedElement=A PTP=p1".
inline std::string textOf(const NamingAttributes_T& name) {
    std::string text;
    for (CORBA::ULong i = 0; i < name.length(); ++i)
        text += (i == 0 ? "" : " ") + std::string(name[i].name.in()) + "=" + name[i].value.in();
    return text;
}

/// Return the names in a list of names.
inline std::vector<std::string> namesIn(const globaldefs::NamingAttributesList_T& list) {
    std::vector<std::string> names;
    for (CORBA::ULong i = 0; i < list.length(); ++i)
        names.push_back(textOf(list[i]));
    return names;
}
/// Return the names of the objects in a list.
template <class Sequence>
std::vector<std::string> namesOf(const Sequence& list) {
    std::vector<std::string> names;
    for (CORBA::ULong i = 0; i < list.length(); ++i)
        names.push_back(textOf(list[i].name));
    return names;
}

/// Expect the call to fail with this exception type and with `words` in the reason.
template <class Call>
void expectRefusal(globaldefs::ExceptionType_T type, const std::string& words, Call call) {
    try {
        call();
        ADD_FAILURE() << "the call succeeded";
    } catch (const globaldefs::ProcessingFailureException& refusal) {
        EXPECT_EQ(refusal.exceptionType, type) << refusal.errorReason.in();
        EXPECT_THAT(refusal.errorReason.in(), testing::HasSubstr(words));
    }
}

/// A manager over an inventory, called over a connection in a session.
template <class Servant, class Interface>
class ManagerTest : public testing::Test {
  protected:
    explicit ManagerTest(const char* name, const std::string& network = kNetwork) : name_(name) {
        take(network);
        NS_CORBA::CorbaBaseAgentConfig::Instance()->EnterNorthMgrFactory(name_, &factory_);
        agent_.emplace(AgentOptions().withInventory(database()));
        session_ = agent_->logIn(agent_->nms());
        manager_ = agent_->template remoteManager<Interface>(session_.in(), name_);
    }
    ~ManagerTest() override {
        agent_.reset();
        NS_CORBA::CorbaBaseAgentConfig::Instance()->LeaveNorthMgrFactory(name_);
    }

    std::string database() const { return (folder_.path() / "inventory.db").string(); }
    void take(const std::string& network) {
        const inventory::ImportResult result =
            inventory::importInventory(database(), folder_.write("network.jsonl", network), {});
        for (const inventory::ImportProblem& problem : result.problems)
            ADD_FAILURE() << problem.text();
    }
    template <class Iterator>
    Iterator remote(const Iterator& iterator) const {
        return agent_->template overTheWire<typename std::decay_t<decltype(*iterator.in())>>(
            iterator.in());
    }
    static std::size_t openIterators() { return RunningAgent::sessions().IteratorCount(); }

    TemporaryDirectory folder_;
    const char* const name_;
    managers::ServantFactory<Servant> factory_;
    std::optional<RunningAgent> agent_;
    emsSession::EmsSession_I_var session_;
    typename Interface::_var_type manager_;
};

}  // namespace kelp::test
