#include "dumps/pending_changes.h"

#include <algorithm>

#include "text/json_line.h"

namespace kelp::nms {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kRemovedValue = "-";

bool isPair(const Json& json) {
    return json.is_object() && json.contains("name") && json.contains("value") &&
           json["name"].is_string();
}

bool areAllPairs(const Json& list) {
    return list.is_array() && std::all_of(list.begin(), list.end(), isPair);
}

bool isName(const Json& name) {
    return areAllPairs(name) && !name.empty() &&
           std::all_of(name.begin(), name.end(),
                       [](const Json& part) { return part["value"].is_string(); });
}

bool isConnectionPoint(const Json& name) {
    return std::any_of(name.begin(), name.end(),
                       [](const Json& part) { return part["name"] == "CTP"; });
}

/// The pairs with the changed ones in place of the old ones.
Json merged(Json pairs, const Json& changes) {
    if (!areAllPairs(pairs) || !areAllPairs(changes))
        return changes;
    for (const Json& change : changes) {
        const auto old = std::find_if(pairs.begin(), pairs.end(), [&](const Json& pair) {
            return pair["name"] == change["name"];
        });
        const bool isRemoved = change["value"] == kRemovedValue;
        if (old == pairs.end()) {
            if (!isRemoved)
                pairs.push_back(change);
        } else if (isRemoved) {
            pairs.erase(old);
        } else {
            *old = change;
        }
    }
    return pairs;
}

/// The layers of `changes`, which are all that there are, with the old parameters and the changes.
Json mergedLayers(const Json& layers, Json changes) {
    if (!layers.is_array() || !changes.is_array())
        return changes;
    for (Json& change : changes) {
        if (!change.is_object() || !change.contains("layer"))
            continue;
        const auto old = std::find_if(layers.begin(), layers.end(), [&](const Json& layer) {
            return layer.is_object() && layer.value("layer", Json()) == change["layer"];
        });
        const Json before =
            old == layers.end() ? Json::array() : old->value("transmissionParams", Json::array());
        change["transmissionParams"] =
            merged(before, change.value("transmissionParams", Json::array()));
    }
    return changes;
}

}  // namespace

bool PendingChanges::take(const EventRecord& event) {
    if (event.change.is_null())
        return true;
    const Json name = event.change.value("name", Json());
    if (!isName(name))
        return false;
    if (isConnectionPoint(name))
        return true;
    const std::size_t bytes = lineOf(event.change).size();
    const std::string key = keyOf(name);
    if (bytes_ + bytes > bytesMax_ ||
        (updates_.size() >= objectsMax_ && updates_.find(key) == updates_.end()))
        return false;
    bytes_ += bytes;
    ObjectUpdate& update = updateOf(key);
    if (event.change.contains("object")) {
        const Json& object = event.change["object"];
        if (!object.is_object() || object.value("object", "").empty() ||
            object.value("name", Json()) != name)
            return false;
        if (update.object.is_null())
            created_.push_back(key);
        update = {false, object, Json::array()};
    } else if (event.change.contains("attributes")) {
        const Json& attributes = event.change["attributes"];
        if (!areAllPairs(attributes))
            return false;
        for (const Json& each : attributes) {
            if (update.object.is_object())
                setAttribute(update.object, each["name"], each["value"]);
            else
                update.attributes.push_back(each);
        }
    } else {
        removeContent(name);
        update = {true, nullptr, Json::array()};
    }
    return true;
}

/// An element takes what it contains with it.
void PendingChanges::removeContent(const Json& name) {
    std::string inside = keyOf(name);
    inside.back() = ',';  // names that continue this one
    removedContainers_.insert(keyOf(name));
    for (auto each = updates_.lower_bound(inside);
         each != updates_.end() && each->first.starts_with(inside); ++each)
        each->second = {true, nullptr, Json::array()};
}

ObjectUpdate& PendingChanges::updateOf(const std::string& key) {
    const auto [place, isNew] = updates_.try_emplace(key);
    if (isNew)
        place->second.attributes = Json::array();
    return place->second;
}

const ObjectUpdate* PendingChanges::find(const Json& name) const {
    static const ObjectUpdate kRemoved{true, nullptr, Json::array()};
    if (const auto found = updates_.find(keyOf(name)); found != updates_.end())
        return &found->second;
    if (removedContainers_.empty())
        return nullptr;
    Json container = Json::array();
    for (const Json& part : name) {
        container.push_back(part);
        if (removedContainers_.contains(keyOf(container)))
            return &kRemoved;
    }
    return nullptr;
}

std::string PendingChanges::keyOf(const Json& name) {
    return lineOf(name);
}

void setAttribute(Json& object, const std::string& attribute, const Json& value) {
    const Json before = object.value(attribute, Json::array());
    if (attribute == "additionalInfo")
        object[attribute] = merged(before, value);
    else if (attribute == "transmissionParams")
        object[attribute] = mergedLayers(before, value);
    else
        object[attribute] = value;
}

}  // namespace kelp::nms
