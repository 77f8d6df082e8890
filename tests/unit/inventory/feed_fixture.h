#pragma once

#include <kelp/inventory/change_feed.h>
#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <vector>

#include "inventory_fixture.h"

namespace kelp::test {

/// "created ManagedElement=A", "changed ManagedElement=A: userLabel, owner".
inline std::string changeLine(const inventory::ObjectChange& change) {
    using Operation = inventory::ObjectChange::Operation;
    static const std::map<Operation, std::string> words = {{Operation::Created, "created"},
                                                           {Operation::Changed, "changed"},
                                                           {Operation::Deleted, "deleted"},
                                                           {Operation::Lost, "lost"}};
    std::string text = words.at(change.operation);
    for (const inventory::NameValue& each : change.name)
        text += " " + each.name + "=" + each.value;
    for (std::size_t i = 0; i < change.attributes.size(); ++i)
        text += (i == 0 ? ": " : ", ") + change.attributes[i];
    return text;
}

/// A copy of the network that is kept up to date by changes alone, as an NMS keeps its copy.
class NetworkCopy {
  public:
    using Json = nlohmann::json;

    void apply(const inventory::ObjectChange& change) {
        using Operation = inventory::ObjectChange::Operation;
        std::string name;
        for (const inventory::NameValue& each : change.name)
            name += each.name + "=" + each.value + " ";
        const Json given =
            Json::parse(inventory::encodeChange(change)).value("attributes", Json::object());
        if (change.operation == Operation::Created)
            objects_[name] = given;
        else if (change.operation == Operation::Deleted)
            objects_.erase(name);
        else if (change.kind == inventory::ObjectKind::Ems || objects_.count(name) != 0)
            merge(objects_[name], given);
    }
    const std::map<std::string, Json>& objects() const { return objects_; }

  private:
    static void merge(Json& object, const Json& given) {
        for (const auto& [key, value] : given.items()) {
            if (key == "additionalInfo") {
                mergeValues(object[key], value);
            } else if (key == "transmissionParams") {
                Json layers = Json::object();
                for (const auto& [layer, values] : value.items()) {
                    layers[layer] = object[key].value(layer, Json::object());
                    mergeValues(layers[layer], values);
                }
                object[key] = layers;
            } else {
                object[key] = value;
            }
        }
    }
    static void mergeValues(Json& target, const Json& changes) {
        if (target.is_null())
            target = Json::object();
        for (const auto& [name, value] : changes.items()) {
            if (value == "-")
                target.erase(name);
            else
                target[name] = value;
        }
    }

    std::map<std::string, Json> objects_;
};

/// An inventory whose changes are read.
class FeedTest : public InventoryTest {
  protected:
    inventory::ChangeFeed& feed() {
        if (!feed_)
            feed_ = std::make_unique<inventory::ChangeFeed>(database);
        return *feed_;
    }
    /// Read and hand over all changes.
    std::vector<inventory::ObjectChange> drained(std::size_t most = 7) {
        std::vector<inventory::ObjectChange> all;
        for (;;) {
            const std::vector<inventory::ObjectChange> some = feed().next(most);
            EXPECT_LE(some.size(), most);
            if (some.empty())
                return all;
            all.insert(all.end(), some.begin(), some.end());
            feed().handedOver(some.back());
        }
    }
    std::vector<std::string> lines() {
        std::vector<std::string> result;
        for (const inventory::ObjectChange& change : drained())
            result.push_back(changeLine(change));
        return result;
    }
    void replaceWith(const std::string& network) {
        inventory::ImportOptions options;
        options.replace = true;
        takeRight(network, options);
    }

  private:
    std::unique_ptr<inventory::ChangeFeed> feed_;
};

}  // namespace kelp::test
