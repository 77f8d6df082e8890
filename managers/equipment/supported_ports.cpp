// The ports that equipment supports, and the equipment that supports a port.

#include "common/find_object.h"
#include "common/row_lists.h"
#include "equipment_mgr.h"

namespace kelp::equipmentinventory {

namespace {

using globaldefs::NamingAttributes_T;
using inventory::Inventory;

auto portsOn(const NamingAttributes_T& board) {
    return [&board](Inventory& in) {
        return in.portsOn(managers::findRow<inventory::EquipmentName>(in, board).id);
    };
}

/// Return the board that a port is on; none when the inventory does not know it.
std::optional<inventory::Equipment> boardUnder(Inventory& in, const NamingAttributes_T& port) {
    const auto name = managers::named<inventory::TpName>(port);
    if (name.kind() == inventory::TpKind::Ctp)
        managers::refuse(managers::kNotAName, managers::nameText(port));
    const inventory::TerminationPoint row = managers::findRow<inventory::TpName>(in, port);
    if (row.supportingEquipment.empty())
        return std::nullopt;
    return in.find(inventory::EquipmentName{name.managedElement, row.supportingEquipmentHolder,
                                            row.supportingEquipment});
}

/// Return a list with the board that a port is on, or an empty list. The caller owns it.
template <class Sequence, class Convert>
Sequence* listOfBoardUnder(const NamingAttributes_T& port, Convert convert) {
    return managers::withInventory([&](const std::shared_ptr<Inventory>& in) {
        auto list = std::make_unique<Sequence>();
        if (const auto board = boardUnder(*in, port)) {
            list->length(1);
            convert(*board, (*list)[0]);
        }
        return list.release();
    });
}

}  // namespace

void EquipmentInventoryMgr_I::getAllSupportedPTPs(
    const NamingAttributes_T& board, CORBA::ULong howMany,
    terminationPoint::TerminationPointList_T_out list,
    terminationPoint::TerminationPointIterator_I_out iterator) {
    iterator = managers::giveRows<managers::PointLists>(howMany, list, portsOn(board));
}

void EquipmentInventoryMgr_I::getAllSupportedPTPNames(
    const NamingAttributes_T& board, CORBA::ULong howMany,
    globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator = managers::giveNames<inventory::TerminationPoint>(howMany, list, portsOn(board));
}

void EquipmentInventoryMgr_I::getAllSupportingEquipment(
    const NamingAttributes_T& port, equipment::EquipmentOrHolderList_T_out list) {
    list = listOfBoardUnder<equipment::EquipmentOrHolderList_T>(
        port, [](const inventory::Equipment& board, equipment::EquipmentOrHolder_T& either) {
            managers::toIdl(board, either);
        });
}

void EquipmentInventoryMgr_I::getAllSupportingEquipmentNames(
    const NamingAttributes_T& port, globaldefs::NamingAttributesList_T_out list) {
    list = listOfBoardUnder<globaldefs::NamingAttributesList_T>(
        port, [](const inventory::Equipment& board, NamingAttributes_T& name) {
            managers::toIdl(inventory::nameOf(board), name);
        });
}

}  // namespace kelp::equipmentinventory
