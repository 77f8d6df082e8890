#include "attributes.h"

#include <kelp/agent/error_translation.h>
#include <kelp/util/utf8.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <variant>

#include "idl_names.h"
#include "inventory_access.h"
#include "refusal.h"

namespace kelp::managers {

namespace {

using inventory::Change;
using inventory::Inventory;
using inventory::ObjectKind;

/// Maximum length of a text, in bytes.
constexpr std::size_t kLongestText = 1024;

ObjectKind kindOf(const inventory::ManagedElementName&) {
    return ObjectKind::ManagedElement;
}
ObjectKind kindOf(const inventory::HolderName&) {
    return ObjectKind::EquipmentHolder;
}
ObjectKind kindOf(const inventory::EquipmentName&) {
    return ObjectKind::Equipment;
}
ObjectKind kindOf(const inventory::TpName&) {
    return ObjectKind::TerminationPoint;
}
ObjectKind kindOf(const inventory::LinkName&) {
    return ObjectKind::TopologicalLink;
}
ObjectKind kindOf(const inventory::SubnetworkName&) {
    return ObjectKind::Subnetwork;
}
ObjectKind kindOf(const inventory::EmsName&) {
    return ObjectKind::Ems;
}

/// Return the text. Refuse a text with control characters, one that is too long, and one that is
/// not UTF-8.
std::string checkedText(const char* text, const char* parameter) {
    if (text == nullptr)
        refuse(NS_KELPCORBA::kNullInput, parameter);
    std::string value(text);
    const bool isPlain = std::none_of(value.begin(), value.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < ' ' || byte == 0x7f;
    });
    if (!isPlain || value.size() > kLongestText || !util::isUtf8(value))
        refuse(kNotAValue, parameter);
    return value;
}

/// Change the object of this name. `makeChange` receives the inventory, and the kind and id of the
/// object.
template <class MakeChange>
Change changeObject(Kinds kinds, const globaldefs::NamingAttributes_T& object,
                    MakeChange makeChange) {
    const inventory::ObjectName name = objectNamed(object);
    return withInventory([&](const std::shared_ptr<Inventory>& in) {
        const Change change = std::visit(
            [&](const auto& each) {
                const ObjectKind kind = kindOf(each);
                if (std::find(kinds.begin(), kinds.end(), kind) == kinds.end())
                    refuse(kNotAName, nameText(object));
                const auto row = in->find(each);
                return row ? makeChange(*in, kind, row->id) : Change::NoSuchObject;
            },
            name);
        if (change == Change::NoSuchObject)
            refuse(kNoSuchObject, nameText(object));
        return change;
    });
}

}  // namespace

void setUserLabel(Kinds kinds, const globaldefs::NamingAttributes_T& object, const char* label,
                  bool isUnique) {
    const std::string text = checkedText(label, "userLabel");
    const Change change =
        changeObject(kinds, object, [&](Inventory& in, ObjectKind kind, std::int64_t id) {
            return in.setUserLabel(kind, id, text, isUnique);
        });
    if (change == Change::LabelInUse)
        refuseUserLabel(text);
}

void setNativeEmsName(Kinds kinds, const globaldefs::NamingAttributes_T& object, const char* name) {
    const std::string text = checkedText(name, "nativeEMSName");
    if (text.empty())
        refuse(kNotAValue, "nativeEMSName");
    changeObject(kinds, object, [&](Inventory& in, ObjectKind kind, std::int64_t id) {
        if (kind == ObjectKind::Ems)
            refuse(NS_KELPCORBA::kOperationNotImplemented, "objectName");
        return in.setNativeEmsName(kind, id, text);
    });
}

void setOwner(Kinds kinds, const globaldefs::NamingAttributes_T& object, const char* owner) {
    const std::string text = checkedText(owner, "owner");
    changeObject(kinds, object, [&](Inventory& in, ObjectKind kind, std::int64_t id) {
        return in.setOwner(kind, id, text);
    });
}

}  // namespace kelp::managers
