#pragma once

#include <kelp/inventory/model.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "database/connection.h"

namespace kelp::inventory {

/// Translates names into row ids and back, with the unique indexes of the tables. Caches the last
/// result of each kind, because neighbouring rows mostly have the same parents. The cache is valid
/// within one transaction. Id 0 means no row.
class NameIndex {
  public:
    explicit NameIndex(Connection& connection) : connection_(connection) {}

    /// Whether a row counts as existing when its name is looked up.
    using Accept = std::function<bool(ObjectKind, std::int64_t)>;
    /// Look up names only among the rows that `accept` accepts. Not for the EMS.
    NameIndex(Connection& connection, Accept accept)
        : connection_(connection), accept_(std::move(accept)) {}

    std::int64_t elementId(const std::string& name);
    std::int64_t holderId(std::int64_t elementId, const std::string& name);
    std::int64_t equipmentId(std::int64_t holderId, const std::string& name);
    std::int64_t portId(std::int64_t elementId, TpKind kind, const std::string& name);
    std::int64_t ctpId(std::int64_t portId, const std::string& name);
    std::int64_t linkId(const std::string& name);
    std::int64_t tpId(const TpName& name);
    std::int64_t subnetworkId(const std::string& name);
    std::int64_t emsId();

    // Look up the names of existing rows. The rows exist because other rows refer to them.
    void nameElement(std::int64_t id, std::string& name);
    void nameHolder(std::int64_t id, std::string& element, std::string& holder);
    void nameEquipment(std::int64_t id, std::string& holder, std::string& equipment);
    /// Sets everything except the CTP's own value.
    void namePort(std::int64_t id, TpName& name);
    void nameTp(std::int64_t id, TpName& name);
    /// The subnetworks of an element, in the order of their ids.
    void nameSubnetworks(std::int64_t elementId, std::vector<std::string>& names);

  private:
    struct LastById {
        std::int64_t id = 0;
        std::string parent;
        std::string name;
    };
    struct LastByName {
        std::int64_t parentId = 0;
        int kind = 0;
        std::string name;
        std::int64_t id = 0;
    };

    std::int64_t idOf(const char* sql, std::int64_t parentId, const std::string& name);
    void nameOnly(const char* sql, std::int64_t id, LastById& last, std::string& name);
    void nameSubnetwork(std::int64_t id, std::string& name);

    std::int64_t accepted(ObjectKind kind, std::int64_t id) const {
        return id == 0 || !accept_ || accept_(kind, id) ? id : 0;
    }

    Connection& connection_;
    const Accept accept_;
    LastById element_;
    LastById holder_;
    LastById equipment_;
    LastById subnetwork_;
    std::int64_t lastPortId_ = 0;
    TpName lastPort_;
    LastByName elementByName_;
    LastByName holderByName_;
    LastByName equipmentByName_;
    LastByName portByName_;
    LastByName subnetworkByName_;
};

}  // namespace kelp::inventory
