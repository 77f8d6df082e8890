#include "managed_element_mgr.h"

#include "common/attributes.h"
#include "common/find_object.h"
#include "common/row_lists.h"

namespace kelp::managedelement {

namespace {

using inventory::Inventory;
using managers::withInventory;

constexpr managers::Capability kCapabilities[] = {
#define MANAGER_OPERATION MANAGER_CAPABILITY
#include "managed_element_operations.inc"
#undef MANAGER_OPERATION
};

constexpr auto kKinds = {inventory::ObjectKind::ManagedElement,
                         inventory::ObjectKind::TerminationPoint};

}  // namespace

void ManagedElementMgr_I::getCapabilities(common::CapabilityList_T_out capabilities) {
    capabilities = managers::capabilityList(kCapabilities);
}

void ManagedElementMgr_I::setUserLabel(const globaldefs::NamingAttributes_T& object,
                                       const char* label, CORBA::Boolean isUnique) {
    managers::setUserLabel(kKinds, object, label, isUnique);
}

void ManagedElementMgr_I::setNativeEMSName(const globaldefs::NamingAttributes_T& object,
                                           const char* name) {
    managers::setNativeEmsName(kKinds, object, name);
}

void ManagedElementMgr_I::setOwner(const globaldefs::NamingAttributes_T& object,
                                   const char* owner) {
    managers::setOwner(kKinds, object, owner);
}

void ManagedElementMgr_I::getAllManagedElements(
    CORBA::ULong howMany, managedElement::ManagedElementList_T_out list,
    managedElement::ManagedElementIterator_I_out iterator) {
    iterator = managers::giveRows<managers::ElementLists>(
        howMany, list, [](Inventory& in) { return in.elements(); });
}

void ManagedElementMgr_I::getAllManagedElementNames(
    CORBA::ULong howMany, globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator = managers::giveNames<inventory::ManagedElement>(
        howMany, list, [](Inventory& in) { return in.elements(); });
}

void ManagedElementMgr_I::getManagedElement(const globaldefs::NamingAttributes_T& name,
                                            managedElement::ManagedElement_T_out element) {
    element =
        managers::getObject<inventory::ManagedElementName, managedElement::ManagedElement_T>(name);
}

void ManagedElementMgr_I::getContainingSubnetworkNames(
    const globaldefs::NamingAttributes_T& element, globaldefs::NamingAttributesList_T_out names) {
    names = withInventory([&](const std::shared_ptr<Inventory>& in) {
        const std::int64_t id = managers::findRow<inventory::ManagedElementName>(*in, element).id;
        auto list = std::make_unique<globaldefs::NamingAttributesList_T>();
        managers::appendNames<inventory::Subnetwork>(*in, in->subnetworksOf(id), *list);
        return list.release();
    });
}

void ManagedElementMgr_I::getTP(const globaldefs::NamingAttributes_T& name,
                                terminationPoint::TerminationPoint_T_out point) {
    point = managers::getObject<inventory::TpName, terminationPoint::TerminationPoint_T>(name);
}

}  // namespace kelp::managedelement
