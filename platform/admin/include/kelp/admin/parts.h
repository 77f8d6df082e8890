#pragma once

#include <kelp/admin/registry.h>
#include <kelp/util/export.h>

#include <functional>
#include <string>

namespace kelp::admin {

/// Returns the state of one part of the process as it is now, an object of JSON. Called on threads
/// of the operator's interface, possibly several at a time. Texts of peers must be escaped.
using PartSource = std::function<Json()>;

/// The parts of the process that an operator can look into with GET /parts, such as "channel" or
/// "disks": each part of the process enters its own. There is one object for the process. Any
/// thread may call it.
class KELP_EXPORT Parts {
  public:
    static Parts& instance();

    /// Ask `source` until the registration ends. Throws std::invalid_argument if the name is taken.
    [[nodiscard]] Registration enter(const std::string& name, PartSource source);

    /// The state of each part by its name. A part whose source throws is {"error": "..."}.
    Json current();

  private:
    Registry sources_;  ///< each source answers one request
};

}  // namespace kelp::admin
