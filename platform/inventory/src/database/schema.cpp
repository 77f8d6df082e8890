#include "database/schema.h"

#include <kelp/inventory/failure.h>

#include <string>
#include <vector>

namespace kelp::inventory {

namespace {

/// "KINV" in the file's header tells an inventory from another program's database.
constexpr int kApplicationId = 0x4B494E56;

/// Version 1. Ids are never used again (AUTOINCREMENT), so that an id in a snapshot never stands
/// for another row. Lists are packed (packed_values.h). Enumerations have the standard's numbers.
constexpr const char* kVersion1 = R"(
CREATE TABLE managed_element (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    name TEXT NOT NULL UNIQUE,
    userLabel TEXT NOT NULL,
    nativeEMSName TEXT NOT NULL,
    owner TEXT NOT NULL,
    location TEXT NOT NULL,
    version TEXT NOT NULL,
    productName TEXT NOT NULL,
    communicationState INTEGER NOT NULL,
    emsInSyncState INTEGER NOT NULL,
    supportedRates BLOB NOT NULL,
    additionalInfo BLOB NOT NULL
) STRICT;

CREATE TABLE equipment_holder (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    element_id INTEGER NOT NULL REFERENCES managed_element (id),
    name TEXT NOT NULL,
    userLabel TEXT NOT NULL,
    nativeEMSName TEXT NOT NULL,
    owner TEXT NOT NULL,
    alarmReportingIndicator INTEGER NOT NULL,
    holderType TEXT NOT NULL,
    expectedOrInstalledEquipment TEXT NOT NULL,
    acceptableEquipmentTypeList BLOB NOT NULL,
    holderState INTEGER NOT NULL,
    additionalInfo BLOB NOT NULL,
    UNIQUE (element_id, name)
) STRICT;

CREATE TABLE equipment (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    holder_id INTEGER NOT NULL REFERENCES equipment_holder (id),
    name TEXT NOT NULL,
    userLabel TEXT NOT NULL,
    nativeEMSName TEXT NOT NULL,
    owner TEXT NOT NULL,
    alarmReportingIndicator INTEGER NOT NULL,
    serviceState INTEGER NOT NULL,
    expectedEquipmentObjectType TEXT NOT NULL,
    installedEquipmentObjectType TEXT NOT NULL,
    installedPartNumber TEXT NOT NULL,
    installedVersion TEXT NOT NULL,
    installedSerialNumber TEXT NOT NULL,
    additionalInfo BLOB NOT NULL,
    UNIQUE (holder_id, name)
) STRICT;

CREATE TABLE termination_point (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    element_id INTEGER NOT NULL REFERENCES managed_element (id),
    port_id INTEGER REFERENCES termination_point (id),
    kind INTEGER NOT NULL,
    name TEXT NOT NULL,
    equipment_id INTEGER REFERENCES equipment (id),
    userLabel TEXT NOT NULL,
    nativeEMSName TEXT NOT NULL,
    owner TEXT NOT NULL,
    ingressTrafficDescriptorName TEXT NOT NULL,
    egressTrafficDescriptorName TEXT NOT NULL,
    connectionState INTEGER NOT NULL,
    tpMappingMode INTEGER NOT NULL,
    direction INTEGER NOT NULL,
    transmissionParams BLOB NOT NULL,
    tpProtectionAssociation INTEGER NOT NULL,
    edgePoint INTEGER NOT NULL,
    additionalInfo BLOB NOT NULL,
    connectableRates BLOB NOT NULL
) STRICT;
CREATE UNIQUE INDEX port_name ON termination_point (element_id, kind, name) WHERE port_id IS NULL;
CREATE UNIQUE INDEX ctp_name ON termination_point (port_id, name) WHERE port_id IS NOT NULL;
CREATE INDEX port_equipment ON termination_point (equipment_id) WHERE equipment_id IS NOT NULL;

CREATE TABLE topological_link (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    name TEXT NOT NULL UNIQUE,
    a_end_id INTEGER NOT NULL REFERENCES termination_point (id),
    z_end_id INTEGER NOT NULL REFERENCES termination_point (id),
    userLabel TEXT NOT NULL,
    nativeEMSName TEXT NOT NULL,
    owner TEXT NOT NULL,
    direction INTEGER NOT NULL,
    rate INTEGER NOT NULL,
    additionalInfo BLOB NOT NULL
) STRICT;
CREATE INDEX link_a_end ON topological_link (a_end_id);
CREATE INDEX link_z_end ON topological_link (z_end_id);
)";

/// Version 2. The EMS has a row once one of its attributes was set. An element may be in several
/// subnetworks. A link's row also holds the elements of its two ends. So the links of an element or
/// subnetwork are found without reading its ports, which may be hundreds of thousands.
constexpr const char* kVersion2 = R"(
CREATE TABLE ems (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    userLabel TEXT NOT NULL,
    owner TEXT NOT NULL,
    additionalInfo BLOB NOT NULL
) STRICT;

CREATE TABLE subnetwork (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    name TEXT NOT NULL UNIQUE,
    userLabel TEXT NOT NULL,
    nativeEMSName TEXT NOT NULL,
    owner TEXT NOT NULL,
    subnetworkType INTEGER NOT NULL,
    supportedRates BLOB NOT NULL,
    additionalInfo BLOB NOT NULL
) STRICT;

CREATE TABLE subnetwork_element (
    subnetwork_id INTEGER NOT NULL REFERENCES subnetwork (id),
    element_id INTEGER NOT NULL REFERENCES managed_element (id),
    PRIMARY KEY (subnetwork_id, element_id)
) STRICT, WITHOUT ROWID;
CREATE INDEX element_subnetwork ON subnetwork_element (element_id, subnetwork_id);

ALTER TABLE topological_link ADD COLUMN a_element_id INTEGER REFERENCES managed_element (id);
ALTER TABLE topological_link ADD COLUMN z_element_id INTEGER REFERENCES managed_element (id);
UPDATE topological_link SET
    a_element_id = (SELECT element_id FROM termination_point WHERE id = a_end_id),
    z_element_id = (SELECT element_id FROM termination_point WHERE id = z_end_id);
CREATE INDEX link_a_element ON topological_link (a_element_id, z_element_id);
CREATE INDEX link_z_element ON topological_link (z_element_id);
CREATE TRIGGER link_made AFTER INSERT ON topological_link BEGIN
    UPDATE topological_link SET
        a_element_id = (SELECT element_id FROM termination_point WHERE id = NEW.a_end_id),
        z_element_id = (SELECT element_id FROM termination_point WHERE id = NEW.z_end_id)
    WHERE id = NEW.id;
END;
CREATE TRIGGER link_moved AFTER UPDATE OF a_end_id, z_end_id ON topological_link BEGIN
    UPDATE topological_link SET
        a_element_id = (SELECT element_id FROM termination_point WHERE id = NEW.a_end_id),
        z_element_id = (SELECT element_id FROM termination_point WHERE id = NEW.z_end_id)
    WHERE id = NEW.id;
END;
)";

/// Version 3. The outbox: what was changed and not yet handed over to the NMS (rows/outbox.h). An
/// id is never used again. `operation`: 0 created, 1 changed, 2 deleted, 3 changes were lost. `at`
/// is in microseconds since the epoch. `detail` holds the changed attributes, or the name of a
/// deleted object. Nothing is recorded until somebody reads the outbox.
constexpr const char* kVersion3 = R"(
CREATE TABLE change_outbox (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    at INTEGER NOT NULL,
    operation INTEGER NOT NULL,
    kind INTEGER NOT NULL,
    first_id INTEGER NOT NULL,
    last_id INTEGER NOT NULL,
    edge_point INTEGER NOT NULL,
    detail BLOB NOT NULL
) STRICT;
CREATE UNIQUE INDEX outbox_changed ON change_outbox (kind, first_id) WHERE operation = 1;

CREATE TABLE outbox_state (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    is_recording INTEGER NOT NULL
) STRICT;
INSERT INTO outbox_state (id, is_recording) VALUES (1, 0);
)";

/// Version 4. The encoded forms of the objects, as a list's reply carries them
/// (encoded/encoded_form.h), in separate tables, so that they are read without the columns. A
/// row without one is encoded from its columns. `version` is that of the encoded forms of which all
/// rows have one; 0 until they are made. The ids of an element's ports are read in their order from
/// an index alone. It contains port_id because SQLite would read the rows otherwise.
constexpr const char* kVersion4 = R"(
CREATE TABLE encoded_state (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    version INTEGER NOT NULL
) STRICT;
INSERT INTO encoded_state (id, version) VALUES (1, 0);

CREATE INDEX element_port ON termination_point (element_id, id, kind, port_id)
    WHERE port_id IS NULL;
)";

/// The encoded columns of each table in version 4.
struct EncodedColumns {
    const char* table;
    std::vector<const char*> columns;
};
const std::vector<EncodedColumns>& encodedColumns() {
    static const std::vector<EncodedColumns> all = {
        {"managed_element",
         {"name", "userLabel", "nativeEMSName", "owner", "location", "version", "productName",
          "communicationState", "emsInSyncState", "supportedRates", "additionalInfo"}},
        {"equipment_holder",
         {"element_id", "name", "userLabel", "nativeEMSName", "owner", "alarmReportingIndicator",
          "holderType", "expectedOrInstalledEquipment", "acceptableEquipmentTypeList",
          "holderState", "additionalInfo"}},
        {"equipment",
         {"holder_id", "name", "userLabel", "nativeEMSName", "owner", "alarmReportingIndicator",
          "serviceState", "expectedEquipmentObjectType", "installedEquipmentObjectType",
          "installedPartNumber", "installedVersion", "installedSerialNumber", "additionalInfo"}},
        {"termination_point",
         {"element_id", "port_id", "kind", "name", "userLabel", "nativeEMSName", "owner",
          "ingressTrafficDescriptorName", "egressTrafficDescriptorName", "connectionState",
          "tpMappingMode", "direction", "transmissionParams", "tpProtectionAssociation",
          "edgePoint", "additionalInfo"}},
        {"topological_link",
         {"name", "a_end_id", "z_end_id", "userLabel", "nativeEMSName", "owner", "direction",
          "rate", "additionalInfo"}},
        {"subnetwork",
         {"name", "userLabel", "nativeEMSName", "owner", "subnetworkType", "supportedRates",
          "additionalInfo"}},
    };
    return all;
}

/// The table of the encoded forms of another table's rows, and a trigger that removes that of a row
/// whose columns change. Whoever changes a row writes its encoded form afterwards.
void addEncodedForms(SQLite::Database& database, const EncodedColumns& each) {
    const std::string table = each.table;
    std::string of;
    std::string differ;
    for (const std::string column : each.columns) {
        of += (of.empty() ? "" : ", ") + column;
        differ += (differ.empty() ? "NEW." : " OR NEW.") + column + " IS NOT OLD." + column;
    }
    database.exec("CREATE TABLE " + table +
                  "_encoded (id INTEGER PRIMARY KEY, octets BLOB NOT NULL) STRICT");
    database.exec("CREATE TRIGGER " + table + "_changed AFTER UPDATE OF " + of + " ON " + table +
                  " WHEN " + differ + " BEGIN DELETE FROM " + table +
                  "_encoded WHERE id = NEW.id; END");
}

void addEncodedForms(SQLite::Database& database) {
    database.exec(kVersion4);
    for (const EncodedColumns& each : encodedColumns())
        addEncodedForms(database, each);
}

int pragma(SQLite::Database& database, const char* name) {
    return database.execAndGet(std::string("PRAGMA ") + name).getInt();
}

bool isEmpty(SQLite::Database& database) {
    return pragma(database, "user_version") == 0 && pragma(database, "application_id") == 0 &&
           database.execAndGet("SELECT count(*) FROM sqlite_schema").getInt() == 0;
}

/// The version of the inventory; 0 for an empty file.
int versionOf(SQLite::Database& database, const std::filesystem::path& file, int known) {
    if (isEmpty(database))
        return 0;
    if (pragma(database, "application_id") != kApplicationId)
        throw InventoryFailure(file.string() + " is not an inventory");
    const int version = pragma(database, "user_version");
    if (version < 1 || version > known)
        throw InventoryFailure("inventory " + file.string() + " has schema version " +
                               std::to_string(version) + "; this program knows version " +
                               std::to_string(known));
    return version;
}

}  // namespace

std::span<const SchemaStep> schemaSteps() {
    static const std::vector<SchemaStep> steps = {
        [](SQLite::Database& database) { database.exec(kVersion1); },
        [](SQLite::Database& database) { database.exec(kVersion2); },
        [](SQLite::Database& database) { database.exec(kVersion3); },
        [](SQLite::Database& database) { addEncodedForms(database); },
    };
    return steps;
}

void prepareSchema(SQLite::Database& database, const std::filesystem::path& file,
                   std::span<const SchemaStep> steps) {
    const int known = static_cast<int>(steps.size());
    if (versionOf(database, file, known) == known)
        return;
    // Has an effect only on an empty file. Lists read many rows one after the other: larger pages
    // mean fewer calls of the system.
    database.exec("PRAGMA page_size = 16384");
    // two programs may find the same version at the same moment, so bringUpToDate() checks it again
    // inside the transaction
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    bringUpToDate(database, file, steps);
    transaction.commit();
}

void bringUpToDate(SQLite::Database& database, const std::filesystem::path& file,
                   std::span<const SchemaStep> steps) {
    const int known = static_cast<int>(steps.size());
    const int from = versionOf(database, file, known);
    if (from == known)
        return;
    for (int version = from; version < known; ++version)
        steps[static_cast<std::size_t>(version)](database);
    database.exec("PRAGMA application_id = " + std::to_string(kApplicationId));
    database.exec("PRAGMA user_version = " + std::to_string(known));
}

}  // namespace kelp::inventory
