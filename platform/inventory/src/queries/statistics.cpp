#include <string>

#include "database/inventory_state.h"

namespace kelp::inventory {

Statistics Inventory::statistics() {
    return state_->reading([](auto& lease) {
        Statistics result;
        const auto count = [&lease](const std::string& table, const char* condition = "") {
            Prepared& query = lease.prepared("SELECT count(*) FROM " + table + condition);
            const ResetAtEnd reset(query);
            query.step();
            return static_cast<std::uint64_t>(query.integer(0));
        };
        result.subnetworks = count("subnetwork");
        result.elements = count("managed_element");
        result.holders = count("equipment_holder");
        result.equipment = count("equipment");
        result.ctps = count("termination_point", " WHERE port_id IS NOT NULL");
        result.ftps = count("termination_point", " WHERE port_id IS NULL AND kind = 1");
        result.ptps = count("termination_point", " WHERE port_id IS NULL AND kind = 0");
        result.links = count("topological_link");
        Prepared& products = lease.prepared(
            "SELECT productName, count(*) FROM managed_element GROUP BY productName ORDER BY 2 "
            "DESC, 1");
        const ResetAtEnd reset(products);
        while (products.step())
            result.elementsByProduct.emplace_back(std::string(products.text(0)),
                                                  static_cast<std::uint64_t>(products.integer(1)));
        Connection& connection = lease.connection();
        result.fileBytes = static_cast<std::uint64_t>(
            connection.database().execAndGet("PRAGMA page_count").getInt64() *
            connection.database().execAndGet("PRAGMA page_size").getInt64());
        return result;
    });
}

}  // namespace kelp::inventory
