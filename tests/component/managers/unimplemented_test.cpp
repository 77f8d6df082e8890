// The stand-ins for managers that no bundle implements, as an NMS sees them.

#include <gmock/gmock.h>
#include <kelp/bundlemgr/config_schema.h>
#include <mtnm/flowDomain.h>
#include <mtnm/guiCutThrough.h>
#include <mtnm/maintenanceOps.h>
#include <mtnm/performance.h>
#include <mtnm/protection.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/manager_bundle.h"
#include "support/agent_fixture.h"
#include "support/standard_managers.h"
#include "unimplemented/unimplemented_managers.h"

namespace kelp::test {
namespace {

using NS_CORBA::CorbaBaseAgentConfig;

class OfferedManagers : public testing::Test {
  protected:
    OfferedManagers() {
        for (const auto& each : unimplemented::unimplementedManagers())
            CorbaBaseAgentConfig::Instance()->EnterFallbackMgrFactory(each.name, each.factory);
        agent_.emplace();
        session_ = agent_->logIn(agent_->nms());
    }
    ~OfferedManagers() override {
        agent_.reset();
        for (const auto& each : unimplemented::unimplementedManagers())
            CorbaBaseAgentConfig::Instance()->LeaveFallbackMgrFactory(each.name);
    }

    template <class I>
    typename I::_var_type manager(const std::string& name) {
        return agent_->template remoteManager<I>(session_.in(), name.c_str());
    }

    template <class Call>
    static void expectNotImplemented(const std::string& what, Call call) {
        try {
            call();
            ADD_FAILURE() << what << " succeeded";
        } catch (const globaldefs::ProcessingFailureException& refusal) {
            EXPECT_EQ(refusal.exceptionType, globaldefs::EXCPT_NOT_IMPLEMENTED) << what;
        }
    }

    std::optional<RunningAgent> agent_;
    emsSession::EmsSession_I_var session_;
};

TEST(UnimplementedManagers, AreAllThatCanBeOffered) {
    std::vector<std::string> names;
    for (const auto& each : unimplemented::unimplementedManagers())
        names.emplace_back(each.name);
    EXPECT_EQ(names, NS_BUNDLEMGR1::findConfigKey("managers.offered")->choices);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, standardManagers());
}

TEST_F(OfferedManagers, AreListedNextToTheOnesThatAreThere) {
    emsSession::EmsSession_I::managerNames_T_var names;
    session_->getSupportedManagers(names.out());
    std::vector<std::string> listed;
    for (CORBA::ULong i = 0; i < names->length(); ++i)
        listed.emplace_back(names[i].in());
    EXPECT_EQ(listed, standardManagers());
    common::CapabilityList_T_var capabilities;
    manager<common::Common_I>("EMS")->getCapabilities(capabilities.out());
    EXPECT_EQ(agent_->manager().calls, 1) << "the one that is there";
}

TEST_F(OfferedManagers, HaveTheInterfaceOfTheirNameAndRefuseWhatAllManagersHave) {
    const std::map<std::string, std::string> interfaces = {
        {"EquipmentInventory", "equipment/EquipmentInventoryMgr_I"},
        {"FlowDomain", "flowDomain/FlowDomainMgr_I"},
        {"GuiCutThrough", "guiCutThrough/GuiCutThroughMgr_I"},
        {"MLSNPP", "mLSNPP/MLSNPPMgr_I"},
        {"Maintenance", "maintenanceOps/MaintenanceMgr_I"},
        {"ManagedElement", "managedElementManager/ManagedElementMgr_I"},
        {"MultiLayerSNPPLink", "mLSNPPLink/MLSNPPLinkMgr_I"},
        {"MultiLayerSubnetwork", "multiLayerSubnetwork/MultiLayerSubnetworkMgr_I"},
        {"PerformanceManagement", "performance/PerformanceManagementMgr_I"},
        {"Protection", "protection/ProtectionMgr_I"},
        {"TrafficConditioningProfile", "trafficConditioningProfile/TCProfileMgr_I"},
        {"TrafficDescriptor", "trafficDescriptor/TrafficDescriptorMgr_I"},
        {"softwareAndDataManager", "softwareAndDataManager/SoftwareAndDataMgr_I"},
        {"transmissionDescriptor", "transmissionDescriptor/TransmissionDescriptorMgr_I"}};
    for (const auto& [name, interface] : interfaces) {
        const common::Common_I_var found = manager<common::Common_I>(name);
        EXPECT_TRUE(found->_is_a(("IDL:mtnm.tmforum.org/" + interface + ":1.0").c_str())) << name;
        expectNotImplemented(name + " getCapabilities", [&] {
            common::CapabilityList_T_var capabilities;
            found->getCapabilities(capabilities.out());
        });
        expectNotImplemented(name + " setOwner",
                             [&] { found->setOwner(globaldefs::NamingAttributes_T(), "us"); });
        expectNotImplemented(name + " setAdditionalInfo", [&] {
            globaldefs::NVSList_T info;
            found->setAdditionalInfo(globaldefs::NamingAttributes_T(), info);
        });
    }
}

TEST_F(OfferedManagers, RefuseTheOperationsThatAnNmsBeginsWith) {
    expectNotImplemented("getAllFlowDomains", [&] {
        flowDomain::FDList_T_var list;
        flowDomain::FDIterator_I_var rest;
        manager<flowDomain::FlowDomainMgr_I>("FlowDomain")
            ->getAllFlowDomains(100, list.out(), rest.out());
    });
    expectNotImplemented("getGCTProfileInfo", [&] {
        guiCutThrough::GCTProfileInfo_T_var profile;
        manager<guiCutThrough::GuiCutThroughMgr_I>("GuiCutThrough")
            ->getGCTProfileInfo(profile.out());
    });
    expectNotImplemented("getHoldingTime", [&] {
        performance::HoldingTime_T time;
        manager<performance::PerformanceManagementMgr_I>("PerformanceManagement")
            ->getHoldingTime(time);
    });
    expectNotImplemented("launchGCT", [&] {
        CORBA::Boolean closingEnabled = false;
        globaldefs::NVSList_T_var more;
        manager<guiCutThrough::GuiCutThroughMgr_I>("GuiCutThrough")
            ->launchGCT(globaldefs::NamingAttributes_T(), "", globaldefs::NVSList_T(), "",
                        globaldefs::NVSList_T(), closingEnabled, more.out());
    });
}

}  // namespace
}  // namespace kelp::test
