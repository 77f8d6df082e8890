#include "idl_names.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/inventory/layer_rate.h>
#include <kelp/util/joined.h>

#include <utility>
#include <variant>

#include "idl_text.h"
#include "refusal.h"

namespace kelp::managers {

namespace {

inventory::NameValues fromIdl(const globaldefs::NamingAttributes_T& attributes) {
    inventory::NameValues values;
    values.reserve(attributes.length());
    for (CORBA::ULong i = 0; i < attributes.length(); ++i)
        values.push_back({attributes[i].name.in(), attributes[i].value.in()});
    return values;
}

/// Fill in the name of the EMS. Many NMS omit the first component or leave it empty. It can mean no
/// other EMS, because this process has only one. A name without any component names nothing and is
/// left unchanged.
void completeWithEms(inventory::NameValues& attributes) {
    if (attributes.empty())
        return;
    if (attributes.front().name != "EMS")
        attributes.insert(attributes.begin(), {"EMS", emsName()});
    else if (attributes.front().value.empty())
        attributes.front().value = emsName();
}

/// Fill in the attributes without copying the name's texts first, because every entry of every list
/// has a name.
template <class Name>
void fillAttributes(const Name& name, globaldefs::NamingAttributes_T& attributes) {
    CORBA::ULong count = 1;
    inventory::eachComponent(name, [&](const char*, const std::string&) { ++count; });
    attributes.length(count);
    CORBA::ULong at = 0;
    const auto put = [&](const char* component, const std::string& value) {
        textToIdl(component, attributes[at].name);
        textToIdl(value, attributes[at].value);
        ++at;
    };
    put("EMS", emsName());
    inventory::eachComponent(name, put);
}

}  // namespace

const std::string& emsName() {
    static const std::string name = NS_CORBA::CorbaBaseAgentConfig::Instance()->EmsName();
    return name;
}

void toIdl(const inventory::NameValues& values, globaldefs::NVSList_T& list) {
    list.length(static_cast<CORBA::ULong>(values.size()));
    CORBA::ULong at = 0;
    for (const inventory::NameValue& each : values) {
        textToIdl(each.name, list[at].name);
        textToIdl(each.value, list[at].value);
        ++at;
    }
}

template <class Row>
void nameToIdl(const Row& row, globaldefs::NamingAttributes_T& name) {
    fillAttributes(row, name);
}
template void nameToIdl(const inventory::ManagedElement&, globaldefs::NamingAttributes_T&);
template void nameToIdl(const inventory::EquipmentHolder&, globaldefs::NamingAttributes_T&);
template void nameToIdl(const inventory::Equipment&, globaldefs::NamingAttributes_T&);
template void nameToIdl(const inventory::TerminationPoint&, globaldefs::NamingAttributes_T&);
template void nameToIdl(const inventory::TopologicalLink&, globaldefs::NamingAttributes_T&);
template void nameToIdl(const inventory::Subnetwork&, globaldefs::NamingAttributes_T&);

void toIdl(const inventory::TpName& name, globaldefs::NamingAttributes_T& attributes) {
    fillAttributes(name, attributes);
}

void toIdl(const inventory::ObjectName& name, globaldefs::NamingAttributes_T& attributes) {
    std::visit([&](const auto& each) { fillAttributes(each, attributes); }, name);
}

std::string nameText(const globaldefs::NamingAttributes_T& attributes) {
    return util::joined(fromIdl(attributes), ", ", [](const inventory::NameValue& each) {
        return each.name + "=" + each.value;
    });
}

inventory::ObjectName objectNamed(const globaldefs::NamingAttributes_T& attributes) {
    inventory::NameValues values = fromIdl(attributes);
    if (NS_BUNDLEMGR1::ConfigStore::instance().flag("ems.lenient_names"))
        completeWithEms(values);
    std::optional<inventory::ObjectName> name = inventory::objectNameOf(emsName(), values);
    if (!name)
        refuse(kNotAName, nameText(attributes));
    return *std::move(name);
}

template <class Name>
Name named(const globaldefs::NamingAttributes_T& attributes) {
    inventory::ObjectName name = objectNamed(attributes);
    if (!std::holds_alternative<Name>(name))
        refuse(kNotAName, nameText(attributes));
    return std::get<Name>(std::move(name));
}
template inventory::ManagedElementName named(const globaldefs::NamingAttributes_T&);
template inventory::HolderName named(const globaldefs::NamingAttributes_T&);
template inventory::EquipmentName named(const globaldefs::NamingAttributes_T&);
template inventory::TpName named(const globaldefs::NamingAttributes_T&);
template inventory::LinkName named(const globaldefs::NamingAttributes_T&);
template inventory::SubnetworkName named(const globaldefs::NamingAttributes_T&);

inventory::LayerRates layerRates(const transmissionParameters::LayerRateList_T& rates,
                                 const char* parameter) {
    inventory::LayerRates all;
    for (CORBA::ULong i = 0; i < rates.length(); ++i) {
        if (!inventory::isLayerRate(rates[i]))
            refuse(kNotALayerRate, std::string(parameter) + ": " + std::to_string(rates[i]));
        all.push_back(rates[i]);
    }
    return all;
}

}  // namespace kelp::managers
