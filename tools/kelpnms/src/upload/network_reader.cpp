#include "upload/network_reader.h"

#include <algorithm>
#include <unordered_set>

#include "text/json_line.h"
#include "upload/network_json.h"
#include "upload/record_layout.h"

namespace kelp::nms {

namespace {

constexpr const char* kSubnetworkManager = "MultiLayerSubnetwork";

globaldefs::NamingAttributes_T namingAttributes(const nlohmann::ordered_json& name) {
    globaldefs::NamingAttributes_T attributes;
    attributes.length(static_cast<CORBA::ULong>(name.size()));
    for (CORBA::ULong i = 0; i < attributes.length(); ++i) {
        attributes[i].name = name[i]["name"].get_ref<const std::string&>().c_str();
        attributes[i].value = name[i]["value"].get_ref<const std::string&>().c_str();
    }
    return attributes;
}

}  // namespace

bool isOfObjectAlone(const ProcessingFailure& failure) {
    return failure.exceptionType() == globaldefs::EXCPT_ENTITY_NOT_FOUND ||
           failure.exceptionType() == globaldefs::EXCPT_NE_COMM_LOSS;
}

NetworkReader::NetworkReader(NmsSession& session, std::uint32_t batch, WalkProgress& progress)
    : session_(session), batch_(batch), progress_(progress), managers_(session.managerNames()) {}

NetworkReader::Json NetworkReader::ems() {
    emsMgr::EMSMgr_I_ptr manager = managerOf<emsMgr::EMSMgr_I>(emsMgr_, "EMS");
    emsMgr::EMS_T_var ems;
    NmsSession::call("getEMS", [&] { manager->getEMS(ems.out()); });
    return jsonOf(ems.in());
}

std::vector<std::string> NetworkReader::elementNames() {
    managedElementManager::ManagedElementMgr_I_ptr manager =
        managerOf<managedElementManager::ManagedElementMgr_I>(elementMgr_, "ManagedElement");
    std::vector<std::string> names;
    walk<globaldefs::NamingAttributesList_T, globaldefs::NamingAttributesIterator_I>(
        "getAllManagedElementNames",
        [manager](CORBA::ULong most, auto& list, auto& rest) {
            manager->getAllManagedElementNames(most, list.out(), rest.out());
        },
        [&](const Json& name) {
            if (std::string element = elementOf(name); !element.empty())
                names.push_back(std::move(element));
        });
    return names;
}

void NetworkReader::elements(const Take& take) {
    managedElementManager::ManagedElementMgr_I_ptr manager =
        managerOf<managedElementManager::ManagedElementMgr_I>(elementMgr_, "ManagedElement");
    walk<managedElement::ManagedElementList_T, managedElement::ManagedElementIterator_I>(
        "getAllManagedElements",
        [manager](CORBA::ULong most, auto& list, auto& rest) {
            manager->getAllManagedElements(most, list.out(), rest.out());
        },
        take);
}

void NetworkReader::ports(const std::string& element, const Take& take) {
    managedElementManager::ManagedElementMgr_I_ptr manager =
        managerOf<managedElementManager::ManagedElementMgr_I>(elementMgr_, "ManagedElement");
    const globaldefs::NamingAttributes_T name = nameOf(element);
    const transmissionParameters::LayerRateList_T allRates;
    walk<terminationPoint::TerminationPointList_T, terminationPoint::TerminationPointIterator_I>(
        "getAllPTPs(" + element + ")",
        [&](CORBA::ULong most, auto& list, auto& rest) {
            manager->getAllPTPs(name, allRates, allRates, most, list.out(), rest.out());
        },
        take);
}

void NetworkReader::equipment(const std::string& element, const Take& take) {
    equipment::EquipmentInventoryMgr_I_ptr manager =
        managerOf<equipment::EquipmentInventoryMgr_I>(equipmentMgr_, "EquipmentInventory");
    const globaldefs::NamingAttributes_T name = nameOf(element);
    walk<equipment::EquipmentOrHolderList_T, equipment::EquipmentOrHolderIterator_I>(
        "getAllEquipment(" + element + ")",
        [&](CORBA::ULong most, auto& list, auto& rest) {
            manager->getAllEquipment(name, most, list.out(), rest.out());
        },
        take);
}

void NetworkReader::subnetworks(const Take& take) {
    emsMgr::EMSMgr_I_ptr manager = managerOf<emsMgr::EMSMgr_I>(emsMgr_, "EMS");
    walk<multiLayerSubnetwork::SubnetworkList_T, multiLayerSubnetwork::SubnetworkIterator_I>(
        "getAllTopLevelSubnetworks",
        [manager](CORBA::ULong most, auto& list, auto& rest) {
            manager->getAllTopLevelSubnetworks(most, list.out(), rest.out());
        },
        take);
}

std::vector<NetworkReader::Json> NetworkReader::subnetworkNames() {
    std::vector<Json> names;
    if (!hasManager(kSubnetworkManager))
        return names;
    emsMgr::EMSMgr_I_ptr manager = managerOf<emsMgr::EMSMgr_I>(emsMgr_, "EMS");
    walk<globaldefs::NamingAttributesList_T, globaldefs::NamingAttributesIterator_I>(
        "getAllTopLevelSubnetworkNames",
        [manager](CORBA::ULong most, auto& list, auto& rest) {
            manager->getAllTopLevelSubnetworkNames(most, list.out(), rest.out());
        },
        [&](const Json& name) { names.push_back(name); });
    return names;
}

void NetworkReader::links(const Take& take) {
    const std::vector<Json> subnetworks = subnetworkNames();
    // subnetworks may have links in common
    std::unordered_set<std::string> taken;
    const Take takeOnce = [&](const Json& link) {
        if (subnetworks.empty() || taken.insert(lineOf(link["name"])).second)
            take(link);
    };
    emsMgr::EMSMgr_I_ptr manager = managerOf<emsMgr::EMSMgr_I>(emsMgr_, "EMS");
    walk<topologicalLink::TopologicalLinkList_T, topologicalLink::TopologicalLinkIterator_I>(
        "getAllTopLevelTopologicalLinks",
        [manager](CORBA::ULong most, auto& list, auto& rest) {
            manager->getAllTopLevelTopologicalLinks(most, list.out(), rest.out());
        },
        takeOnce);
    for (const Json& subnetwork : subnetworks) {
        try {
            linksOf(subnetwork, takeOnce);
        } catch (const ProcessingFailure& failure) {
            if (!isOfObjectAlone(failure))
                throw;
            isDoubtful_ = true;
            progress_.tell(failure.what());
        } catch (const NoSuchManager& lack) {
            progress_.tell(lack.what() + std::string(": links in subnetworks are left out"));
            return;
        }
    }
}

void NetworkReader::linksOf(const Json& subnetwork, const Take& take) {
    multiLayerSubnetwork::MultiLayerSubnetworkMgr_I_ptr manager =
        managerOf<multiLayerSubnetwork::MultiLayerSubnetworkMgr_I>(subnetworkMgr_,
                                                                   kSubnetworkManager);
    const globaldefs::NamingAttributes_T name = namingAttributes(subnetwork);
    walk<topologicalLink::TopologicalLinkList_T, topologicalLink::TopologicalLinkIterator_I>(
        "getAllTopologicalLinks(" + subnetwork.back()["value"].get<std::string>() + ")",
        [&](CORBA::ULong most, auto& list, auto& rest) {
            manager->getAllTopologicalLinks(name, most, list.out(), rest.out());
        },
        take);
}

bool NetworkReader::hasManager(const std::string& name) const {
    return std::find(managers_.begin(), managers_.end(), name) != managers_.end();
}

void NetworkReader::needManager(const std::string& name) const {
    if (!hasManager(name))
        throw NoSuchManager("the EMS has no manager " + name);
}

template <class List, class Iterator, class Request>
void NetworkReader::walk(const std::string& doing, Request request, const Take& take) {
    progress_.checkInterrupt();
    ListWalk<List, Iterator> list(doing, batch_);
    try {
        list.open(request);
    } catch (const ProcessingFailure& failure) {
        if (failure.exceptionType() == globaldefs::EXCPT_NOT_IMPLEMENTED)
            throw NoSuchManager("the EMS does not implement " + doing);
        throw;
    }
    progress_.listBegins(list.total());
    for (; list.hasBatch(); list.next()) {
        for (CORBA::ULong i = 0; i < list.batch().length(); ++i)
            take(jsonOf(list.batch()[i]));
        batchTaken();
        progress_.batchWritten();
        progress_.checkInterrupt();
    }
    for (const std::string& remark : list.remarks())
        progress_.tell(remark);
    isDoubtful_ = isDoubtful_ || list.isDoubtful();
}

template <class Interface>
typename Interface::_ptr_type NetworkReader::managerOf(typename Interface::_var_type& manager,
                                                       const char* name) {
    if (CORBA::is_nil(manager.in())) {
        needManager(name);
        manager = session_.managerAs<Interface>(name);
    }
    return manager.in();
}

std::string NetworkReader::elementOf(const Json& name) {
    std::string element = componentOf(name, "ManagedElement");
    if (name.size() == 2 && name[0]["name"] == "EMS" && name[0]["value"] == emsName() &&
        name[1]["name"] == "ManagedElement" && !element.empty())
        return element;
    isDoubtful_ = true;
    progress_.tell(
        "the EMS gives a managed element a name that is not the standard's, what belongs to it is "
        "left "
        "out: " +
        lineOf(name));
    return {};
}

const std::string& NetworkReader::emsName() {
    if (emsName_.empty())
        emsName_ = componentOf(ems()["name"], "EMS");
    return emsName_;
}

globaldefs::NamingAttributes_T NetworkReader::nameOf(const std::string& element) {
    return namingAttributes(Json::array({{{"name", "EMS"}, {"value", emsName()}},
                                         {{"name", "ManagedElement"}, {"value", element}}}));
}

}  // namespace kelp::nms
