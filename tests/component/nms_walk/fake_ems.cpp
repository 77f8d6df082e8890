#include "fake_ems.h"

#include <gtest/gtest.h>

namespace kelp::test {

namespace {

globaldefs::NamingAttributes_T nameOf(const Name& parts) {
    globaldefs::NamingAttributes_T name;
    name.length(static_cast<CORBA::ULong>(parts.size()));
    for (CORBA::ULong i = 0; i < name.length(); ++i) {
        name[i].name = parts[i].first.c_str();
        name[i].value = parts[i].second.c_str();
    }
    return name;
}

using NameIterator =
    ScriptedIterator<globaldefs::NamingAttributesIterator_I,
                     POA_globaldefs::NamingAttributesIterator_I, globaldefs::NamingAttributesList_T,
                     globaldefs::NamingAttributesList_T_out>;
using ElementIterator = ScriptedIterator<
    managedElement::ManagedElementIterator_I, POA_managedElement::ManagedElementIterator_I,
    managedElement::ManagedElementList_T, managedElement::ManagedElementList_T_out>;
using PortIterator = ScriptedIterator<
    terminationPoint::TerminationPointIterator_I, POA_terminationPoint::TerminationPointIterator_I,
    terminationPoint::TerminationPointList_T, terminationPoint::TerminationPointList_T_out>;
using EquipmentIterator =
    ScriptedIterator<equipment::EquipmentOrHolderIterator_I,
                     POA_equipment::EquipmentOrHolderIterator_I, equipment::EquipmentOrHolderList_T,
                     equipment::EquipmentOrHolderList_T_out>;
using LinkIterator = ScriptedIterator<
    topologicalLink::TopologicalLinkIterator_I, POA_topologicalLink::TopologicalLinkIterator_I,
    topologicalLink::TopologicalLinkList_T, topologicalLink::TopologicalLinkList_T_out>;

using SubnetworkIterator = ScriptedIterator<
    multiLayerSubnetwork::SubnetworkIterator_I, POA_multiLayerSubnetwork::SubnetworkIterator_I,
    multiLayerSubnetwork::SubnetworkList_T, multiLayerSubnetwork::SubnetworkList_T_out>;

topologicalLink::TopologicalLinkList_T linksNamed(const std::vector<std::string>& names) {
    topologicalLink::TopologicalLinkList_T links;
    links.length(static_cast<CORBA::ULong>(names.size()));
    for (CORBA::ULong i = 0; i < links.length(); ++i) {
        links[i].name = nameOf({{"EMS", "Kelp/EMS"}, {"TopologicalLink", names[i]}});
        links[i].direction = globaldefs::CD_BI;
        links[i].rate = 22;
    }
    return links;
}

/// Every operation throws EXCPT_NOT_IMPLEMENTED unless a class below overrides it.
#define MANAGER_OPERATION(module, interface, operation, parameters, support) \
    void operation parameters override {                                     \
        throw refusal(globaldefs::EXCPT_NOT_IMPLEMENTED);                    \
    }

class SilentEmsMgr : public POA_emsMgr::EMSMgr_I {
#include "ems/ems_operations.inc"
};

class SilentElementMgr : public POA_managedElementManager::ManagedElementMgr_I {
#include "managedelement/managed_element_operations.inc"
};

class SilentEquipmentMgr : public POA_equipment::EquipmentInventoryMgr_I {
#include "equipment_operations.inc"
};

class SilentSubnetworkMgr : public POA_multiLayerSubnetwork::MultiLayerSubnetworkMgr_I {
#include "multilayersubnetwork/subnetwork_operations.inc"
};
#undef MANAGER_OPERATION

class FakeEmsMgr : public SilentEmsMgr {
  public:
    explicit FakeEmsMgr(FakeNetwork& network) : network_(network) {}

    void getEMS(emsMgr::EMS_T_out out) override {
        auto* ems = new emsMgr::EMS_T;
        ems->name = nameOf({{"EMS", "Kelp/EMS"}});
        out = ems;
    }
    void getAllTopLevelTopologicalLinks(
        CORBA::ULong howMany, topologicalLink::TopologicalLinkList_T_out list,
        topologicalLink::TopologicalLinkIterator_I_out rest) override {
        network_.onLinks();
        std::vector<std::string> names;
        for (int i = 1; i <= network_.links; ++i)
            names.push_back(std::to_string(i));
        const topologicalLink::TopologicalLinkList_T all = linksNamed(names);
        rest = LinkIterator::give(network_.iterators, all, howMany, list);
    }

    void getAllTopLevelSubnetworks(CORBA::ULong howMany,
                                   multiLayerSubnetwork::SubnetworkList_T_out list,
                                   multiLayerSubnetwork::SubnetworkIterator_I_out rest) override {
        multiLayerSubnetwork::SubnetworkList_T all;
        for (const auto& [name, links] : network_.subnetworks) {
            all.length(all.length() + 1);
            all[all.length() - 1].name =
                nameOf({{"EMS", "Kelp/EMS"}, {"MultiLayerSubnetwork", name}});
            all[all.length() - 1].subnetworkType = multiLayerSubnetwork::TOPO_MESH;
        }
        rest = SubnetworkIterator::give(network_.iterators, all, howMany, list);
    }
    void getAllTopLevelSubnetworkNames(CORBA::ULong howMany,
                                       globaldefs::NamingAttributesList_T_out list,
                                       globaldefs::NamingAttributesIterator_I_out rest) override {
        globaldefs::NamingAttributesList_T all;
        for (const auto& [name, links] : network_.subnetworks) {
            all.length(all.length() + 1);
            all[all.length() - 1] = nameOf({{"EMS", "Kelp/EMS"}, {"MultiLayerSubnetwork", name}});
        }
        rest = NameIterator::give(network_.iterators, all, howMany, list);
    }

  private:
    FakeNetwork& network_;
};

class FakeElementMgr : public SilentElementMgr {
  public:
    explicit FakeElementMgr(FakeNetwork& network) : network_(network) {}

    void getAllManagedElements(CORBA::ULong howMany, managedElement::ManagedElementList_T_out list,
                               managedElement::ManagedElementIterator_I_out rest) override {
        managedElement::ManagedElementList_T all;
        all.length(static_cast<CORBA::ULong>(network_.elements.size()));
        for (CORBA::ULong i = 0; i < all.length(); ++i) {
            all[i].name = nameOf(network_.elements[i]);
            all[i].communicationState = managedElement::CS_AVAILABLE;
            all[i].emsInSyncState = true;
        }
        rest = ElementIterator::give(network_.iterators, all, howMany, list);
    }
    void getAllManagedElementNames(CORBA::ULong howMany,
                                   globaldefs::NamingAttributesList_T_out list,
                                   globaldefs::NamingAttributesIterator_I_out rest) override {
        globaldefs::NamingAttributesList_T all;
        all.length(static_cast<CORBA::ULong>(network_.elements.size()));
        for (CORBA::ULong i = 0; i < all.length(); ++i)
            all[i] = nameOf(network_.elements[i]);
        rest = NameIterator::give(network_.iterators, all, howMany, list);
    }
    void getAllPTPs(const globaldefs::NamingAttributes_T& element,
                    const transmissionParameters::LayerRateList_T& rates,
                    const transmissionParameters::LayerRateList_T&, CORBA::ULong howMany,
                    terminationPoint::TerminationPointList_T_out list,
                    terminationPoint::TerminationPointIterator_I_out rest) override {
        EXPECT_EQ(rates.length(), 0u);
        EXPECT_STREQ(element[0].value.in(), "Kelp/EMS");
        const std::string owner(element[1].value.in());
        network_.onPorts(owner);
        terminationPoint::TerminationPointList_T all;
        all.length(static_cast<CORBA::ULong>(network_.portsEach));
        for (CORBA::ULong i = 0; i < all.length(); ++i) {
            all[i].name = nameOf({{"EMS", "Kelp/EMS"},
                                  {"ManagedElement", owner},
                                  {"PTP", "/port=" + std::to_string(i + 1)}});
            all[i].type = terminationPoint::TPT_PTP;
            all[i].connectionState = terminationPoint::TPCS_NA;
            all[i].tpMappingMode = terminationPoint::TM_NA;
            all[i].direction = terminationPoint::D_BIDIRECTIONAL;
            all[i].tpProtectionAssociation = terminationPoint::TPPA_NA;
            all[i].edgePoint = false;
        }
        rest = PortIterator::give(network_.iterators, all, howMany, list);
    }

  private:
    FakeNetwork& network_;
};

/// Each element has a shelf with a card in its only slot.
class FakeEquipmentMgr : public SilentEquipmentMgr {
  public:
    explicit FakeEquipmentMgr(FakeNetwork& network) : network_(network) {}

    void getAllEquipment(const globaldefs::NamingAttributes_T& element, CORBA::ULong howMany,
                         equipment::EquipmentOrHolderList_T_out list,
                         equipment::EquipmentOrHolderIterator_I_out rest) override {
        if (!network_.implementsEquipment)
            throw refusal(globaldefs::EXCPT_NOT_IMPLEMENTED);
        const std::string owner(element[1].value.in());
        equipment::EquipmentHolder_T shelf;
        shelf.name = nameOf(
            {{"EMS", "Kelp/EMS"}, {"ManagedElement", owner}, {"EquipmentHolder", "/shelf=1"}});
        shelf.holderState = equipment::INSTALLED_AND_EXPECTED;
        shelf.alarmReportingIndicator = false;
        equipment::Equipment_T card;
        card.name = nameOf({{"EMS", "Kelp/EMS"},
                            {"ManagedElement", owner},
                            {"EquipmentHolder", "/shelf=1/slot=1"},
                            {"Equipment", "1"}});
        card.serviceState = equipment::IN_SERVICE;
        card.alarmReportingIndicator = false;
        equipment::EquipmentOrHolderList_T all;
        all.length(2);
        all[0].holder(shelf);
        all[1].equip(card);
        rest = EquipmentIterator::give(network_.iterators, all, howMany, list);
    }

  private:
    FakeNetwork& network_;
};

class FakeSubnetworkMgr : public SilentSubnetworkMgr {
  public:
    explicit FakeSubnetworkMgr(FakeNetwork& network) : network_(network) {}

    void getAllTopologicalLinks(const globaldefs::NamingAttributes_T& subnetwork,
                                CORBA::ULong howMany,
                                topologicalLink::TopologicalLinkList_T_out list,
                                topologicalLink::TopologicalLinkIterator_I_out rest) override {
        if (!network_.implementsSubnetworks)
            throw refusal(globaldefs::EXCPT_NOT_IMPLEMENTED);
        const auto found = network_.subnetworks.find(subnetwork[1].value.in());
        if (found == network_.subnetworks.end() || network_.subnetworksAreGone)
            throw refusal(globaldefs::EXCPT_ENTITY_NOT_FOUND);
        rest = LinkIterator::give(network_.iterators, linksNamed(found->second), howMany, list);
    }

  private:
    FakeNetwork& network_;
};

class FakeSession : public POA_emsSession::EmsSession_I {
  public:
    explicit FakeSession(FakeNetwork& network)
        : network_(network),
          ems_(new FakeEmsMgr(network)),
          elements_(new FakeElementMgr(network)),
          equipment_(new FakeEquipmentMgr(network)),
          subnetworks_(new FakeSubnetworkMgr(network)) {}

    void getSupportedManagers(emsSession::EmsSession_I::managerNames_T_out out) override {
        std::vector<const char*> has = {"EMS", "ManagedElement", "MultiLayerSubnetwork"};
        if (network_.hasEquipment)
            has.push_back("EquipmentInventory");
        auto* names = new emsSession::EmsSession_I::managerNames_T;
        names->length(static_cast<CORBA::ULong>(has.size()));
        for (CORBA::ULong i = 0; i < names->length(); ++i)
            (*names)[i] = has[i];
        out = names;
    }
    void getManager(const char* name, common::Common_I_out manager) override {
        const std::string wanted(name);
        if (wanted == "EMS")
            manager = ems_->_this();
        else if (wanted == "ManagedElement")
            manager = elements_->_this();
        else if (wanted == "MultiLayerSubnetwork")
            manager = subnetworks_->_this();
        else
            manager = equipment_->_this();
    }
    void getEventChannel(CosNotifyChannelAdmin::EventChannel_out) override {
        throw refusal(globaldefs::EXCPT_NOT_IMPLEMENTED);
    }
    session::Session_I_ptr associatedSession() override { return session::Session_I::_nil(); }
    void ping() override {}
    void endSession() override {}

  private:
    FakeNetwork& network_;
    const PortableServer::Servant_var<FakeEmsMgr> ems_;
    const PortableServer::Servant_var<FakeElementMgr> elements_;
    const PortableServer::Servant_var<FakeEquipmentMgr> equipment_;
    const PortableServer::Servant_var<FakeSubnetworkMgr> subnetworks_;
};

}  // namespace

std::unique_ptr<nms::NmsSession> sessionWith(FakeNetwork& network, const RunningOrb& orb) {
    const PortableServer::Servant_var<FakeSession> servant(new FakeSession(network));
    const emsSession::EmsSession_I_var reference = servant->_this();
    return std::make_unique<nms::NmsSession>(
        nms::CallbackActivation(orb.root(), std::make_shared<nms::NmsListener>()), reference.in());
}

}  // namespace kelp::test
