#include "upload/record_layout.h"

#include <kelp/inventory/layer_rate.h>
#include <kelp/util/joined.h>

#include "text/json_line.h"
#include "upload/network_json.h"

namespace kelp::nms {

namespace {

using Record = RecordLayout::Record;
using Column = RecordLayout::Column;

Column attribute(const char* title, const char* name) {
    return {title, [name](const Record& record) { return cellOf(record, name); }};
}

Column component(const char* title, const char* name) {
    return {title, [name](const Record& record) { return componentOf(record["name"], name); }};
}

/// A column for an enumerator, without the prefix that all its values share.
Column enumerator(const char* title, const char* name, const char* prefix) {
    return {title, [name, prefix](const Record& record) {
                const std::string text = cellOf(record, name);
                return text.rfind(prefix, 0) == 0 ? text.substr(std::string(prefix).size()) : text;
            }};
}

/// A column for whichever of two attributes the record has.
Column either(const char* title, const char* first, const char* second) {
    return {title, [first, second](const Record& record) {
                return cellOf(record, record.contains(first) ? first : second);
            }};
}

std::string rateText(const Record& rate) {
    const std::string text = inventory::layerRateText(rate.get<inventory::LayerRate>());
    return text.rfind("LR_", 0) == 0 ? text.substr(3) : text;
}

std::string layersText(const Record& record) {
    return util::joined(record["transmissionParams"], " ",
                        [](const Record& layer) { return rateText(layer["layer"]); });
}

std::string portOf(const Record& name) {
    const std::string ptp = componentOf(name, "PTP");
    return ptp.empty() ? componentOf(name, "FTP") : ptp;
}

std::function<std::string(const Record&)> endText(const char* end) {
    return [end](const Record& record) {
        const Record& name = record[end];
        return componentOf(name, "ManagedElement") + " " + portOf(name) + componentOf(name, "CTP");
    };
}

}  // namespace

std::string componentOf(const nlohmann::ordered_json& name, const std::string& component) {
    for (const Record& pair : name) {
        if (pair["name"] == component)
            return pair["value"].get<std::string>();
    }
    return {};
}

std::string cellOf(const nlohmann::ordered_json& record, const std::string& attribute) {
    const auto found = record.find(attribute);
    if (found == record.end())
        return {};
    if (found->is_string())
        return found->get<std::string>();
    return found->is_array() && found->empty() ? std::string() : lineOf(*found);
}

RecordLayout elementLayout() {
    return {{component("ELEMENT", "ManagedElement"), attribute("LABEL", "userLabel"),
             attribute("PRODUCT", "productName"), attribute("VERSION", "version"),
             enumerator("STATE", "communicationState", "CS_"),
             attribute("IN SYNC", "emsInSyncState"), attribute("LOCATION", "location")},
            {"EMS", "ManagedElement"},
            {"name", "userLabel", "nativeEMSName", "owner", "location", "version", "productName",
             "communicationState", "emsInSyncState", "supportedRates", "additionalInfo"}};
}

RecordLayout portLayout() {
    return {{component("ELEMENT", "ManagedElement"),
             {"PORT", [](const Record& record) { return portOf(record["name"]); }},
             attribute("LABEL", "userLabel"),
             enumerator("DIRECTION", "direction", "D_"),
             enumerator("CONNECTION", "connectionState", "TPCS_"),
             {"LAYERS", layersText}},
            {"EMS", "ManagedElement", "PTP", "FTP"},
            {"name", "userLabel", "nativeEMSName", "owner", "ingressTrafficDescriptorName",
             "egressTrafficDescriptorName", "type", "connectionState", "tpMappingMode", "direction",
             "transmissionParams", "tpProtectionAssociation", "edgePoint", "additionalInfo"}};
}

RecordLayout equipmentLayout() {
    return {
        {component("ELEMENT", "ManagedElement"), component("HOLDER", "EquipmentHolder"),
         component("EQUIPMENT", "Equipment"),
         either("TYPE", "holderType", "installedEquipmentObjectType"),
         either("STATE", "holderState", "serviceState"),
         attribute("SERIAL", "installedSerialNumber"), attribute("LABEL", "userLabel")},
        {"EMS", "ManagedElement", "EquipmentHolder", "Equipment"},
        {"object", "name", "userLabel", "nativeEMSName", "owner", "alarmReportingIndicator",
         "holderType", "expectedOrInstalledEquipment", "acceptableEquipmentTypeList", "holderState",
         "serviceState", "expectedEquipmentObjectType", "installedEquipmentObjectType",
         "installedPartNumber", "installedVersion", "installedSerialNumber", "additionalInfo"}};
}

RecordLayout linkLayout() {
    return {{component("LINK", "TopologicalLink"),
             {"A END", endText("aEndTP")},
             {"Z END", endText("zEndTP")},
             {"RATE", [](const Record& record) { return rateText(record["rate"]); }},
             enumerator("DIRECTION", "direction", "CD_"),
             attribute("LABEL", "userLabel")},
            {"EMS", "TopologicalLink"},
            {"name", "userLabel", "nativeEMSName", "owner", "direction", "rate", "aEndTP", "zEndTP",
             "additionalInfo"}};
}

}  // namespace kelp::nms
