#pragma once

#include "idl_names.h"
#include "idl_rows.h"
#include "inventory_access.h"
#include "refusal.h"

namespace kelp::managers {

/// Return the row of the object that the caller names. Refuse with kNotAName or kNoSuchObject.
template <class Name>
auto findRow(inventory::Inventory& in, const globaldefs::NamingAttributes_T& attributes) {
    auto row = in.find(named<Name>(attributes));
    if (!row)
        refuse(kNoSuchObject, nameText(attributes));
    return *std::move(row);
}

/// Return the object that the caller names, as the standard's structure. The caller owns it.
template <class Name, class Idl>
Idl* getObject(const globaldefs::NamingAttributes_T& attributes) {
    return withInventory([&](const std::shared_ptr<inventory::Inventory>& in) {
        auto object = std::make_unique<Idl>();
        toIdl(findRow<Name>(*in, attributes), *object);
        return object.release();
    });
}

}  // namespace kelp::managers
