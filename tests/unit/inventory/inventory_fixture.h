#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/inventory/transfer.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/temporary_directory.h"

namespace kelp::inventory {

inline std::ostream& operator<<(std::ostream& out, const ImportProblem& problem) {
    return out << problem.text();
}

}  // namespace kelp::inventory

namespace kelp::test {

/// A small network: element "A" with a slot, a board, two ports, a floating port and CTPs, element
/// "B" with a port, and a link between them.
inline const char* const kSmallNetwork =
    R"({"object":"ManagedElement","ManagedElement":"A","productName":"P1"}
{"object":"ManagedElement","ManagedElement":"B","productName":"P2"}
{"object":"EquipmentHolder","ManagedElement":"A","EquipmentHolder":"/rack=1"}
{"object":"EquipmentHolder","ManagedElement":"A","EquipmentHolder":"/rack=1/shelf=1"}
{"object":"EquipmentHolder","ManagedElement":"A","EquipmentHolder":"/rack=1/shelf=1/slot=1"}
{"object":"EquipmentHolder","ManagedElement":"A","EquipmentHolder":"/rack=10"}
{"object":"Equipment","ManagedElement":"A","EquipmentHolder":"/rack=1/shelf=1/slot=1","Equipment":"1"}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","transmissionParams":{"LR_PHYSICAL_OPTICAL":{},"22":{"Trace":"x"}},"connectableRates":[15],"supportingEquipmentHolder":"/rack=1/shelf=1/slot=1","supportingEquipment":"1"}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p2","transmissionParams":["LR_E1_2M"],"connectableRates":[11]}
{"object":"TerminationPoint","ManagedElement":"A","FTP":"f1","transmissionParams":["LR_Encapsulation"]}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","CTP":"/sts3c_au4-j=1","transmissionParams":[15],"connectionState":"TPCS_BI_CONNECTED"}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","CTP":"/sts3c_au4-j=1/vt2_tu12-k=1","transmissionParams":[11]}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","CTP":"/sts3c_au4-j=10","transmissionParams":[15]}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","CTP":"/direction=src/sts3c_au4-j=2","transmissionParams":[15],"direction":"D_SOURCE"}
{"object":"TerminationPoint","ManagedElement":"B","PTP":"p1","transmissionParams":[47]}
{"object":"TopologicalLink","TopologicalLink":"A-B","rate":22,"aEndManagedElement":"A","aEndPTP":"p1","zEndManagedElement":"B","zEndPTP":"p1"}
)";

/// An inventory in a temporary folder.
class InventoryTest : public testing::Test {
  protected:
    /// Import JSON lines.
    inventory::ImportResult take(const std::string& lines,
                                 const inventory::ImportOptions& options = {}) {
        return inventory::importInventory(database, folder.write("network.jsonl", lines), options);
    }
    /// Import JSON lines that must be free of problems.
    void takeRight(const std::string& lines, const inventory::ImportOptions& options = {}) {
        ASSERT_THAT(take(lines, options).problems, testing::IsEmpty());
    }
    std::string exported() {
        std::ostringstream out;
        inventory::exportJsonLines(database, out);
        return out.str();
    }
    std::int64_t elementId(const std::string& name) {
        return open().find(inventory::ManagedElementName{name}).value().id;
    }
    /// Return the inventory, opened on first use.
    inventory::Inventory& open() {
        if (!opened_)
            opened_ = std::make_unique<inventory::Inventory>(database);
        return *opened_;
    }
    template <class Row>
    std::vector<std::string> namesOf(const inventory::RowIds& ids) {
        std::vector<std::string> names;
        for (const Row& row : open().template read<Row>(ids))
            names.push_back(inventory::namingAttributes("E", inventory::nameOf(row)).back().value);
        return names;
    }

    TemporaryDirectory folder;
    const std::filesystem::path database = folder / "inventory.db";

  private:
    std::unique_ptr<inventory::Inventory> opened_;
};

}  // namespace kelp::test
