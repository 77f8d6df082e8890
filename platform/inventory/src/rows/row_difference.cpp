#include "rows/row_difference.h"

#include <algorithm>
#include <string_view>
#include <type_traits>
#include <utility>

#include "database/table.h"

namespace kelp::inventory {

namespace {

constexpr const char* kAdditionalInfo = "additionalInfo";
constexpr const char* kLayers = "transmissionParams";
/// TMF 814: the value of a parameter that was removed.
constexpr const char* kRemoved = "-";

const std::string* valueIn(const NameValues& list, std::string_view name) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const NameValue& each) { return each.name == name; });
    return found == list.end() ? nullptr : &found->value;
}

const LayeredParameters* layerIn(const LayeredParameterList& list, LayerRate layer) {
    const auto found = std::find_if(list.begin(), list.end(), [&](const LayeredParameters& each) {
        return each.layer == layer;
    });
    return found == list.end() ? nullptr : &*found;
}

/// Appends names of attributes that differ.
class Comparison {
  public:
    template <class Value>
    void compare(const char* name, const Value& before, const Value& after) {
        if (!(before == after))
            result_.emplace_back(name);
    }
    void compare(const char* name, const NameValues& before, const NameValues& after) {
        compareValues(std::string(name) + '/', before, after);
    }
    void compare(const char* name, const LayeredParameterList& before,
                 const LayeredParameterList& after) {
        if (before == after)
            return;
        // also when the order of the layers is all that differs
        result_.emplace_back(name);
        for (const LayeredParameters& layer : after) {
            const LayeredParameters* const old = layerIn(before, layer.layer);
            compareValues(std::string(name) + '/' + std::to_string(layer.layer) + '/',
                          old == nullptr ? NameValues() : old->parameters, layer.parameters);
        }
        // a removed layer may come back before its change is reported
        for (const LayeredParameters& layer : before) {
            if (layerIn(after, layer.layer) == nullptr)
                compareValues(std::string(name) + '/' + std::to_string(layer.layer) + '/',
                              layer.parameters, NameValues());
        }
    }
    std::vector<std::string> result() && { return std::move(result_); }

  private:
    void compareValues(const std::string& prefix, const NameValues& before,
                       const NameValues& after) {
        if (before == after)
            return;
        for (const NameValue& each : after) {
            const std::string* const old = valueIn(before, each.name);
            if (old == nullptr || *old != each.value)
                result_.push_back(prefix + each.name);
        }
        for (const NameValue& each : before) {
            if (valueIn(after, each.name) == nullptr)
                result_.push_back(prefix + each.name);
        }
    }

    std::vector<std::string> result_;
};

/// The values whose names follow `prefix` in `changes`, each as it is in `list`.
NameValues changedValues(const NameValues& list, const std::string& prefix,
                         const std::vector<std::string>& changes) {
    NameValues result;
    for (const std::string& change : changes) {
        if (!change.starts_with(prefix))
            continue;
        std::string name = change.substr(prefix.size());
        const std::string* const value = valueIn(list, name);
        if (valueIn(result, name) == nullptr)
            result.push_back({std::move(name), value == nullptr ? kRemoved : *value});
    }
    return result;
}

}  // namespace

template <class Row>
std::vector<std::string> differences(const Row& before, const Row& after) {
    std::vector<const void*> old;
    Table<Row>::visit(before, [&](const char*, const auto& value) { old.push_back(&value); });
    Comparison comparison;
    std::size_t at = 0;
    Table<Row>::visit(after, [&](const char* name, const auto& value) {
        using Value = std::decay_t<decltype(value)>;
        comparison.compare(name, *static_cast<const Value*>(old[at++]), value);
    });
    if constexpr (std::is_same_v<Row, TopologicalLink>) {
        comparison.compare("aEndTP", before.aEnd, after.aEnd);
        comparison.compare("zEndTP", before.zEnd, after.zEnd);
    }
    if constexpr (std::is_same_v<Row, TerminationPoint>) {
        comparison.compare("supportingEquipment", before.supportingEquipmentHolder,
                           after.supportingEquipmentHolder);
        comparison.compare("supportingEquipment", before.supportingEquipment,
                           after.supportingEquipment);
    }
    if constexpr (std::is_same_v<Row, ManagedElement>) {
        std::vector<std::string> one = before.subnetworks;
        std::vector<std::string> other = after.subnetworks;
        std::sort(one.begin(), one.end());
        std::sort(other.begin(), other.end());
        comparison.compare("subnetworks", one, other);
    }
    return std::move(comparison).result();
}

bool isReported(const std::string& difference) {
    return difference != "connectableRates" && difference != "supportingEquipment" &&
           difference != "subnetworks";
}

template <class Row>
std::vector<std::string> reduceToChanges(Row& row, const std::vector<std::string>& changes) {
    row.additionalInfo =
        changedValues(row.additionalInfo, std::string(kAdditionalInfo) + '/', changes);
    if constexpr (std::is_same_v<Row, TerminationPoint>) {
        for (LayeredParameters& layer : row.transmissionParams)
            layer.parameters = changedValues(
                layer.parameters, std::string(kLayers) + '/' + std::to_string(layer.layer) + '/',
                changes);
    }
    std::vector<std::string> names;
    for (const std::string& change : changes) {
        std::string name = change.substr(0, change.find('/'));
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(std::move(name));
    }
    return names;
}

template std::vector<std::string> differences(const ManagedElement&, const ManagedElement&);
template std::vector<std::string> differences(const EquipmentHolder&, const EquipmentHolder&);
template std::vector<std::string> differences(const Equipment&, const Equipment&);
template std::vector<std::string> differences(const TerminationPoint&, const TerminationPoint&);
template std::vector<std::string> differences(const TopologicalLink&, const TopologicalLink&);
template std::vector<std::string> differences(const Subnetwork&, const Subnetwork&);
template std::vector<std::string> differences(const EmsAttributes&, const EmsAttributes&);
template std::vector<std::string> reduceToChanges(ManagedElement&, const std::vector<std::string>&);
template std::vector<std::string> reduceToChanges(EquipmentHolder&,
                                                  const std::vector<std::string>&);
template std::vector<std::string> reduceToChanges(Equipment&, const std::vector<std::string>&);
template std::vector<std::string> reduceToChanges(TerminationPoint&,
                                                  const std::vector<std::string>&);
template std::vector<std::string> reduceToChanges(TopologicalLink&,
                                                  const std::vector<std::string>&);
template std::vector<std::string> reduceToChanges(Subnetwork&, const std::vector<std::string>&);
template std::vector<std::string> reduceToChanges(EmsAttributes&, const std::vector<std::string>&);

}  // namespace kelp::inventory
