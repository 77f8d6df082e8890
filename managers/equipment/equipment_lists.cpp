// The equipment of an element or in a holder.

#include "common/chained_list.h"
#include "common/find_object.h"
#include "common/row_lists.h"
#include "equipment_mgr.h"

namespace kelp::equipmentinventory {

namespace {

using equipment::EquipmentOrHolderList_T;
using globaldefs::NamingAttributes_T;
using globaldefs::NamingAttributesList_T;
using inventory::Depth;
using inventory::Inventory;
using inventory::RowIds;
using managers::RowList;

using EquipmentIterator =
    NS_KELPCORBA::TypedIterator<equipment::EquipmentOrHolderIterator_I,
                                POA_equipment::EquipmentOrHolderIterator_I, EquipmentOrHolderList_T,
                                equipment::EquipmentOrHolderList_T_out>;
using SharedInventory = std::shared_ptr<Inventory>;

/// The result of a query for equipment.
struct Found {
    RowIds holders;
    RowIds boards;
};

/// Find all holders and all equipment in an element or a holder.
Found everythingIn(Inventory& in, const NamingAttributes_T& elementOrHolder) {
    if (std::holds_alternative<inventory::HolderName>(managers::objectNamed(elementOrHolder))) {
        const std::int64_t holder =
            managers::findRow<inventory::HolderName>(in, elementOrHolder).id;
        return {in.holdersIn(holder, Depth::All), in.equipmentIn(holder, Depth::All)};
    }
    const std::int64_t element =
        managers::findRow<inventory::ManagedElementName>(in, elementOrHolder).id;
    return {in.holdersOf(element, Depth::All), in.equipmentOf(element)};
}

}  // namespace

void EquipmentInventoryMgr_I::getAllEquipment(const NamingAttributes_T& elementOrHolder,
                                              CORBA::ULong howMany,
                                              equipment::EquipmentOrHolderList_T_out list,
                                              equipment::EquipmentOrHolderIterator_I_out iterator) {
    iterator = managers::withInventory([&](const SharedInventory& in) {
        Found found = everythingIn(*in, elementOrHolder);
        return EquipmentIterator::give(
            std::make_unique<managers::ChainedList<EquipmentOrHolderList_T>>(
                std::make_unique<RowList<inventory::EquipmentHolder, EquipmentOrHolderList_T>>(
                    in, std::move(found.holders)),
                std::make_unique<RowList<inventory::Equipment, EquipmentOrHolderList_T>>(
                    in, std::move(found.boards))),
            howMany, list);
    });
}

void EquipmentInventoryMgr_I::getAllEquipmentNames(
    const NamingAttributes_T& elementOrHolder, CORBA::ULong howMany,
    globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator = managers::withInventory([&](const SharedInventory& in) {
        Found found = everythingIn(*in, elementOrHolder);
        return managers::NameIterator::give(
            std::make_unique<managers::ChainedList<NamingAttributesList_T>>(
                std::make_unique<managers::NameList<inventory::EquipmentHolder>>(
                    in, std::move(found.holders)),
                std::make_unique<managers::NameList<inventory::Equipment>>(
                    in, std::move(found.boards))),
            howMany, list);
    });
}

void EquipmentInventoryMgr_I::getContainedEquipment(const NamingAttributes_T& holderName,
                                                    equipment::EquipmentOrHolderList_T_out list) {
    list = managers::withInventory([&](const SharedInventory& in) {
        const std::int64_t holder = managers::findRow<inventory::HolderName>(*in, holderName).id;
        auto both = std::make_unique<EquipmentOrHolderList_T>();
        managers::appendAll<inventory::EquipmentHolder>(*in, in->holdersIn(holder, Depth::Direct),
                                                        *both);
        managers::appendAll<inventory::Equipment>(*in, in->equipmentIn(holder, Depth::Direct),
                                                  *both);
        return both.release();
    });
}

}  // namespace kelp::equipmentinventory
