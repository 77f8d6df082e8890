#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

namespace kelp::util {

/// Finds keys that an object of a JSON text repeats. The parser, which keeps the last of two equal
/// keys, reports each object and key as it reads them.
class KELP_EXPORT RepeatedKeys {
  public:
    void beginObject();
    void endObject();
    /// Add a key of the innermost open object. False if the key is a duplicate.
    bool add(const std::string& key);

    /// Pass on an event of nlohmann's parser, with the value that the parser reports with it. False
    /// for a key that the object has already.
    template <class Event, class Json>
    bool see(Event event, const Json& parsed) {
        if (event == Event::object_start)
            beginObject();
        else if (event == Event::object_end)
            endObject();
        else if (event == Event::key)
            return add(parsed.template get_ref<const std::string&>());
        return true;
    }

    /// Number of different keys of the innermost open object; 0 outside every object.
    std::size_t count() const;
    /// The key that was added last to each open object, the outermost object's first.
    std::vector<std::string> path() const;

  private:
    struct Object {
        std::unordered_set<std::string> keys;
        std::string last;
    };

    std::vector<Object> open_;  ///< the innermost object is the last one
};

}  // namespace kelp::util
