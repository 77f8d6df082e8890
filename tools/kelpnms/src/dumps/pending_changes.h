#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "events/event_record.h"

namespace kelp::nms {

/// What has become of one object since the dump file was written.
struct ObjectUpdate {
    bool isRemoved = false;
    nlohmann::ordered_json object;      ///< null unless it was created
    nlohmann::ordered_json attributes;  ///< a list of {"name", "value"}, to be set in this order
};

/// The changes of the network that are not in the dump file yet. Limited in entries and size: an
/// EMS may send any number of changes while the file is written. Not thread-safe.
class PendingChanges {
  public:
    static constexpr std::size_t kObjectsMax = 50'000;
    static constexpr std::size_t kBytesMax = 64 << 20;

    explicit PendingChanges(std::size_t objectsMax = kObjectsMax, std::size_t bytesMax = kBytesMax)
        : objectsMax_(objectsMax), bytesMax_(bytesMax) {}

    /// Take a change over. Returns false if there is no room, and for a change that cannot be used;
    /// the network must then be dumped again. Other events and those about connection points, which
    /// a dump leaves out, have no effect.
    bool take(const EventRecord& event);

    bool isEmpty() const { return updates_.empty(); }
    /// The update of the object with this name, a list of {"name", "value"}. Null if there is none
    /// and nothing that contains the object was removed.
    const ObjectUpdate* find(const nlohmann::ordered_json& name) const;
    /// The keys of the created objects, in their order. A key may repeat, and its object may have
    /// been removed since.
    const std::vector<std::string>& created() const { return created_; }
    const ObjectUpdate& at(const std::string& key) const { return updates_.at(key); }

    /// The key of an object with this name.
    static std::string keyOf(const nlohmann::ordered_json& name);

  private:
    ObjectUpdate& updateOf(const std::string& key);
    void removeContent(const nlohmann::ordered_json& name);

    std::size_t objectsMax_;
    std::size_t bytesMax_;
    std::map<std::string, ObjectUpdate> updates_;
    std::set<std::string> removedContainers_;
    std::vector<std::string> created_;
    std::size_t bytes_ = 0;
};

/// Set an attribute of an object in the form of a dump. Of additionalInfo and the transmission
/// parameters, `value` contains only what has changed, a removed value as "-" (TMF 814).
void setAttribute(nlohmann::ordered_json& object, const std::string& attribute,
                  const nlohmann::ordered_json& value);

}  // namespace kelp::nms
