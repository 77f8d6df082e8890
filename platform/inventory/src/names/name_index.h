#pragma once

#include <kelp/inventory/model.h>

#include <cstdint>
#include <string>
#include <vector>

#include "database/connection.h"

namespace kelp::inventory {

/// Row ids of names and names of row ids, by the tables' unique indexes. Remembers the last of each
/// kind, because rows that stand together mostly have the same parents; what it remembers holds
/// within one transaction. 0 stands for no row.
class NameIndex {
  public:
    explicit NameIndex(Connection& connection) : connection_(connection) {}

    std::int64_t elementId(const std::string& name);
    std::int64_t holderId(std::int64_t elementId, const std::string& name);
    std::int64_t equipmentId(std::int64_t holderId, const std::string& name);
    std::int64_t portId(std::int64_t elementId, TpKind kind, const std::string& name);
    std::int64_t ctpId(std::int64_t portId, const std::string& name);
    std::int64_t linkId(const std::string& name);
    std::int64_t tpId(const TpName& name);
    std::int64_t subnetworkId(const std::string& name);
    std::int64_t emsId();

    // Fill names in. The rows are there, since other rows refer to them.
    void nameElement(std::int64_t id, std::string& name);
    void nameHolder(std::int64_t id, std::string& element, std::string& holder);
    void nameEquipment(std::int64_t id, std::string& holder, std::string& equipment);
    /// All but the CTP's own value.
    void namePort(std::int64_t id, TpName& name);
    void nameTp(std::int64_t id, TpName& name);
    /// Of an element, in the order in which they came in.
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

    Connection& connection_;
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
