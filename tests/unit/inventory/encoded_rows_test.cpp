// Rows in their encoded form: written with the row, read in batches, and replaced when they do not
// fit.

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/inventory/generate.h>

#include "database/schema.h"
#include "database/table.h"
#include "encoded/encoded_form.h"
#include "inventory_fixture.h"
#include "support/trace_capture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::HasSubstr;

constexpr const char* kEms = "Kelp/EMS";

class EncodedRowsTest : public InventoryTest {
  protected:
    EncodedRowsTest() { takeRight(kSmallNetwork); }

    SQLite::Database plain() { return SQLite::Database(database.string(), SQLite::OPEN_READWRITE); }
    int change(const std::string& sql) { return plain().exec(sql); }
    int number(const std::string& sql) { return plain().execAndGet(sql).getInt(); }

    static EncodedRows read(Inventory& from, const RowIds& ids) {
        EncodedRows rows;
        EXPECT_EQ(from.readEncoded<TerminationPoint>(ids, {kEms}, rows), ids.count());
        return rows;
    }
    std::string points() { return read(open(), RowIds(IdRange{1, 8})).octets; }
    /// What readEncoded() must give: the rows encoded from their columns.
    std::string pointsFromColumns() {
        std::string octets;
        Structure structure;
        for (const TerminationPoint& row : open().read<TerminationPoint>(RowIds({1, 8}))) {
            encode(row, structure);
            CdrWriter(octets, 0).align();
            appendWithEms(structure.octets, structure.emsAt, encodedEms(kEms), octets);
        }
        return octets;
    }
    std::int64_t portId() { return open().find(TpName{"A", TpKind::Ptp, "p1", ""})->id; }
};

TEST_F(EncodedRowsTest, AreWrittenByAnImportForEveryObject) {
    Inventory opened(database);
    forEachKind([&](const auto& kind) {
        using Row = std::decay_t<decltype(kind)>;
        if constexpr (kIsEncoded<Row>) {
            const std::string table = Table<Row>::kName;
            EXPECT_EQ(number("SELECT count(*) FROM " + table),
                      number("SELECT count(*) FROM " + encodedTable<Row>()))
                << table;
        }
    });
    EXPECT_EQ(points(), pointsFromColumns());
    EXPECT_EQ(open().unfitRows(), 0u);
}

TEST_F(EncodedRowsTest, AreWrittenForMadeUpNetworks) {
    const std::filesystem::path file = folder / "generated.db";
    NetworkPlan plan;
    plan.elements = 9;
    plan.ports = 60;
    plan.ctpsPerLine = 2;
    generateNetwork(file, plan);
    Inventory made(file);
    EncodedRows stored;
    EncodedRows links;
    const RowIds all(IdRange{1, 60});
    made.readEncoded<TerminationPoint>(all, {kEms}, stored);
    made.readEncoded<TopologicalLink>(made.links(), {kEms}, links);
    SQLite::Database(file.string(), SQLite::OPEN_READWRITE)
        .exec("DELETE FROM termination_point_encoded; DELETE FROM topological_link_encoded");
    EncodedRows fromColumns;
    EncodedRows linksFromColumns;
    made.readEncoded<TerminationPoint>(all, {kEms}, fromColumns);
    made.readEncoded<TopologicalLink>(made.links(), {kEms}, linksFromColumns);
    EXPECT_EQ(stored.octets, fromColumns.octets);
    EXPECT_GT(links.count, 0u);
    EXPECT_EQ(links.octets, linksFromColumns.octets);
}

TEST_F(EncodedRowsTest, FollowEachChangeOfALabelNameOrOwner) {
    const std::string before = points();
    open().setUserLabel(ObjectKind::TerminationPoint, portId(), "Harbour", false);
    EXPECT_THAT(points(), HasSubstr("Harbour"));
    open().setNativeEmsName(ObjectKind::TerminationPoint, portId(), "p-native");
    open().setOwner(ObjectKind::TerminationPoint, portId(), "North");
    EXPECT_THAT(points(), HasSubstr("p-native"));
    EXPECT_THAT(points(), HasSubstr("North"));
    EXPECT_NE(points(), before);
    EXPECT_EQ(number("SELECT count(*) FROM termination_point_encoded"), 8);
    EXPECT_EQ(points(), pointsFromColumns());
}

TEST_F(EncodedRowsTest, FollowAnImportThatChangesObjects) {
    takeRight(
        R"({"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","userLabel":"Quay","additionalInfo":{"k":"v"}}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p2","connectableRates":[15]})");
    EXPECT_THAT(points(), HasSubstr("Quay"));
    EXPECT_EQ(number("SELECT count(*) FROM termination_point_encoded"), 8);
    EXPECT_EQ(points(), pointsFromColumns());
    ImportOptions options;
    options.replace = true;
    takeRight(R"({"object":"ManagedElement","ManagedElement":"A","productName":"P1"})", options);
    EXPECT_EQ(number("SELECT count(*) FROM termination_point_encoded"), 0);
    EXPECT_EQ(number("SELECT count(*) FROM managed_element_encoded"), 1);
}

TEST_F(EncodedRowsTest, StayAsTheyWereWhenTheChangeIsRolledBack) {
    const std::string before = points();
    ImportOptions options;
    options.dryRun = true;
    takeRight(R"({"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","userLabel":"Quay"})",
              options);
    EXPECT_FALSE(
        take(R"({"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","userLabel":"Quay"}
{"object":"nonsense"})")
            .problems.empty());
    EXPECT_EQ(points(), before);
    EXPECT_EQ(open().unfitRows(), 0u);
}

TEST_F(EncodedRowsTest, AreRemovedWhenAColumnIsChangedByHand) {
    points();
    change("UPDATE termination_point SET userLabel = 'by hand' WHERE name = 'p1'");
    EXPECT_THAT(points(), HasSubstr("by hand"));
    EXPECT_EQ(points(), pointsFromColumns());
    EXPECT_EQ(open().unfitRows(), 0u) << "a missing form is no damage";
    // the connectable rates are not part of the structure
    change("UPDATE termination_point SET connectableRates = x'0b' WHERE name = 'p2'");
    EXPECT_EQ(number("SELECT count(*) FROM termination_point_encoded"), 6);
}

TEST_F(EncodedRowsTest, ThatAreDamagedAreEncodedFromTheColumnsAndTracedOnce) {
    const std::string whole = points();
    const TraceCapture trace;
    for (const char* const damage :
         {"CAST(octets || 'x' AS BLOB)", "CAST('x' || substr(octets, 2) AS BLOB)",
          "substr(octets, 1, 30)", "zeroblob(100)", "zeroblob(200000)",
          "(SELECT octets FROM managed_element_encoded LIMIT 1)", "x''"}) {
        change(std::string("UPDATE termination_point_encoded SET octets = ") + damage +
               " WHERE id % 2 = 1");
        EXPECT_EQ(points(), whole) << damage;
    }
    EXPECT_GE(open().unfitRows(), 4u);
    EXPECT_EQ(trace.count("the encoded form of a row does not fit"), 1u);
}

TEST_F(EncodedRowsTest, ThatAreDamagedAreMadeAgainWhenTheInventoryIsNextOpened) {
    points();
    change("UPDATE termination_point_encoded SET octets = x'0102' WHERE id = 3");
    points();
    EXPECT_EQ(open().unfitRows(), 1u);
    Inventory again(database);
    EXPECT_EQ(read(again, RowIds({1, 8})).octets, pointsFromColumns());
    EXPECT_EQ(again.unfitRows(), 0u);
}

TEST_F(EncodedRowsTest, AreMadeForAnInventoryOfTheVersionBeforeThem) {
    const std::filesystem::path file = folder / "old.db";
    {
        SQLite::Database db(file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        prepareSchema(db, file, schemaSteps().first(3));
        db.exec(R"(
INSERT INTO managed_element VALUES (1, 'A', 'label', 'A', '', '', '', 'P1', 0, 1, x'', x'');
INSERT INTO managed_element VALUES (7, 'B', '', 'B', '', '', '', 'P2', 1, 0, x'0f', x'');
)");
        std::filesystem::permissions(
            file, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    }
    Inventory opened(file);
    SQLite::Database db(file.string(), SQLite::OPEN_READWRITE);
    EXPECT_EQ(db.execAndGet("SELECT count(*) FROM managed_element_encoded").getInt(), 2);
    EXPECT_EQ(db.execAndGet("SELECT version FROM encoded_state").getInt(), kEncodedVersion);
    EncodedRows rows;
    opened.readEncoded<ManagedElement>(opened.elements(), {kEms}, rows);
    EXPECT_EQ(rows.count, 2u);
    db.exec("DELETE FROM managed_element_encoded");
    EncodedRows fromColumns;
    opened.readEncoded<ManagedElement>(opened.elements(), {kEms}, fromColumns);
    EXPECT_EQ(rows.octets, fromColumns.octets);
}

TEST_F(EncodedRowsTest, LeaveOutObjectsThatWereDeleted) {
    RowIds ids({1, 8});
    change("DELETE FROM termination_point WHERE name = 'p2'");
    change(
        "DELETE FROM termination_point_encoded WHERE id NOT IN (SELECT id FROM "
        "termination_point)");
    EXPECT_EQ(read(open(), ids).count, 7u);
    EXPECT_EQ(points(), pointsFromColumns());
}

TEST_F(EncodedRowsTest, ThatAreTooLongToBeStoredAreEncodedFromTheColumns) {
    std::string info;
    for (int i = 0; i < 20; ++i)
        info +=
            (i == 0 ? "\"" : ",\"") + std::to_string(i) + "\":\"" + std::string(4000, 'x') + "\"";
    takeRight(R"({"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","additionalInfo":{)" +
              info + "}}");
    EXPECT_EQ(number("SELECT count(*) FROM termination_point_encoded"), 7);
    EXPECT_TRUE(points() == pointsFromColumns());
    EXPECT_GT(points().size(), kEncodedMax);
    EXPECT_EQ(open().unfitRows(), 0u);
}

TEST_F(EncodedRowsTest, EndBeforeTheRowThatWouldExceedTheLimit) {
    const RowIds all({1, 8});
    const std::string whole = points();
    for (const bool isStored : {true, false}) {
        for (std::size_t most = 1; most <= whole.size() + 1; most += 40) {
            Encoding encoding{kEms};
            encoding.octetsMax = most;
            RowIds left = all;
            std::uint32_t count = 0;
            while (!left.empty()) {
                EncodedRows rows;
                const std::uint64_t read =
                    open().readEncoded<TerminationPoint>(left, encoding, rows);
                ASSERT_GE(read, 1u);
                EXPECT_EQ(rows.count, read);
                EXPECT_TRUE(read == 1 || rows.octets.size() <= most) << rows.octets.size();
                left.take(read);
                count += rows.count;
            }
            EXPECT_EQ(count, 8u);
        }
        change("DELETE FROM termination_point_encoded WHERE id = 4");
        EXPECT_EQ(isStored ? points() : whole, whole);
    }
}

TEST_F(EncodedRowsTest, OfNamesAreTheBeginningOfTheStructures) {
    EncodedRows names;
    EncodedRows structures;
    const RowIds one({1, 1});
    open().readEncoded<TerminationPoint>(one, {kEms, Encoding::Part::Name}, names);
    open().readEncoded<TerminationPoint>(one, {kEms}, structures);
    EXPECT_EQ(structures.octets.substr(0, names.octets.size()), names.octets);
    EXPECT_LT(names.octets.size(), structures.octets.size());
    EXPECT_TRUE(isName(names.octets));
}

TEST_F(EncodedRowsTest, DoNotChangeWhatAnExportGives) {
    const std::string before = exported();
    change(
        "DELETE FROM termination_point_encoded; UPDATE managed_element_encoded SET octets = "
        "x'00'");
    EXPECT_EQ(exported(), before);
}

}  // namespace
}  // namespace kelp::test
