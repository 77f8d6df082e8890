#include "database/scan.h"

#include <stdexcept>

#include "database/connection.h"
#include "inventory_fixture.h"
#include "rows/row_reader.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::ElementsAre;

/// A table of words numbered from 1 to 4, inserted in another order. The second word is empty.
class ScanOfWords : public testing::Test {
  protected:
    static SQLite::Database madeDatabase() {
        SQLite::Database made(":memory:", SQLite::OPEN_READWRITE);
        addPassRow(made);
        made.exec("CREATE TABLE word (id INTEGER PRIMARY KEY, text TEXT NOT NULL)");
        made.exec("INSERT INTO word VALUES (4, 'four'), (1, 'one'), (3, 'three'), (2, '')");
        return made;
    }
    static std::string wordsFrom(const std::string& columns) {
        return "SELECT NULL FROM word WHERE id BETWEEN ?1 AND 4 AND pass_row(?2, " + columns +
               ") ORDER BY id";
    }

    SQLite::Database database = madeDatabase();
    Prepared words{database, wordsFrom("id, text")};
    std::vector<std::string> taken;
};

TEST_F(ScanOfWords, PassesEachRowOnOnceInTheOrderOfTheStatement) {
    words.bind(1, 2);
    scan(words, 2, [&](Columns columns) {
        taken.push_back(std::to_string(columns.integer()));
        taken.emplace_back(columns.text());
    });
    EXPECT_THAT(taken, ElementsAre("2", "", "3", "three", "4", "four"));
}

TEST_F(ScanOfWords, EndsWithWhatItsTakerThrewAndCanBeRunAgain) {
    const auto takeTwo = [&](Columns columns) {
        columns.integer();
        taken.emplace_back(columns.text());
        if (taken.size() == 2)
            throw std::out_of_range("enough");
    };
    words.bind(1, 1);
    try {
        scan(words, 2, takeTwo);
        FAIL() << "the exception got lost";
    } catch (const std::out_of_range& thrown) {
        EXPECT_STREQ(thrown.what(), "enough");
    }
    EXPECT_THAT(taken, ElementsAre("one", "")) << "nothing is passed on after the exception";
    scan(words, 2, takeTwo);
    EXPECT_THAT(taken, ElementsAre("one", "", "one", "", "three", "four"));
}

TEST_F(ScanOfWords, RunsOtherStatementsOfItsConnectionMeanwhile) {
    Prepared next(database, "SELECT text FROM word WHERE id = ?1 + 1");
    Prepared rest(database, wordsFrom("text"));
    words.bind(1, 1);
    scan(words, 2, [&](Columns columns) {
        const std::int64_t id = columns.integer();
        const std::string text(columns.text());
        const ResetAtEnd reset(next);
        next.bind(1, id);
        taken.push_back(text + "-" + (next.step() ? std::string(next.text(0)) : "end"));
        rest.bind(1, id);
        scan(rest, 2, [&](Columns inner) { taken.back() += " " + std::string(inner.text()); });
    });
    EXPECT_THAT(taken, ElementsAre("one- one  three four", "-three  three four",
                                   "three-four three four", "four-end four"));
}

TEST_F(ScanOfWords, ReportsWhatSqliteFailsWithInTheMiddle) {
    Prepared failing(database, wordsFrom("iif(id = 3, abs(-9223372036854775807 - 1), id)"));
    failing.bind(1, 1);
    try {
        scan(failing, 2,
             [&](Columns columns) { taken.push_back(std::to_string(columns.integer())); });
        FAIL() << "the failure got lost";
    } catch (const SQLite::Exception& failure) {
        EXPECT_STREQ(failure.what(), "integer overflow");
    }
    EXPECT_THAT(taken, ElementsAre("1", "2"));
}

TEST_F(ScanOfWords, LeavesNothingThatALaterRunOfTheStatementCouldReach) {
    words.bind(1, 1);
    scan(words, 2, [&](Columns columns) { taken.push_back(std::to_string(columns.integer())); });
    EXPECT_THROW(words.step(), SQLite::Exception) << "a scan that is over was reached";
    words.reset();
    EXPECT_THROW(database.execAndGet("SELECT pass_row()"), SQLite::Exception);
    EXPECT_EQ(taken.size(), 4u);
}

class RowScan : public InventoryTest {};

TEST_F(RowScan, PassesRowsOnByTheirIdsWhateverOrderSqlitePrefers) {
    takeRight(kSmallNetwork);
    Connection connection(database, Connection::Use::Read);
    connection.database().exec("PRAGMA reverse_unordered_selects = ON");
    std::vector<std::int64_t> ids;
    TerminationPoint row;
    RowReader<TerminationPoint>(connection, Detail::Standard)
        .readEach({2, 5}, row, [&](const TerminationPoint& point) { ids.push_back(point.id); });
    EXPECT_THAT(ids, ElementsAre(2, 3, 4, 5, 6));
}

TEST_F(RowScan, EndsAtADamagedRowAndReportsIt) {
    takeRight(kSmallNetwork);
    SQLite::Database(database.string(), SQLite::OPEN_READWRITE)
        .exec("UPDATE termination_point SET additionalInfo = x'7F' WHERE id = 3");
    std::vector<std::int64_t> ids;
    const auto readPorts = [&] {
        open().readEach<TerminationPoint>(
            open().allPorts(), Detail::Standard,
            [&](const TerminationPoint& port) { ids.push_back(port.id); });
    };
    try {
        readPorts();
        FAIL() << "the damage was passed over";
    } catch (const InventoryFailure& failure) {
        EXPECT_STREQ(failure.what(), "a row of the inventory is damaged");
    }
    EXPECT_THAT(ids, ElementsAre(1, 2));
    SQLite::Database(database.string(), SQLite::OPEN_READWRITE)
        .exec("UPDATE termination_point SET additionalInfo = x'' WHERE id = 3");
    readPorts();
    EXPECT_THAT(ids, ElementsAre(1, 2, 1, 2, 3, 8)) << "the reader is as good as before";
}

TEST_F(RowScan, LetsItsTakerReadFromTheInventory) {
    takeRight(kSmallNetwork);
    std::vector<std::string> found;
    open().readEach<TerminationPoint>(
        open().allPorts(), Detail::Standard, [&](const TerminationPoint& port) {
            found.push_back(open().find(port.name).value().nativeEMSName);
        });
    EXPECT_THAT(found, ElementsAre("p1", "p2", "f1", "p1"));
}

TEST_F(RowScan, GivesTheNamesOfParentsThatChangeFromRowToRow) {
    takeRight(kSmallNetwork);
    takeRight(
        R"({"object":"TerminationPoint","ManagedElement":"B","PTP":"p1","CTP":"/a=1","transmissionParams":[15]}
{"object":"TerminationPoint","ManagedElement":"A","PTP":"p1","CTP":"/a=1","transmissionParams":[15]}
)");
    RowIds points;
    for (std::int64_t id = 7; id <= 10; ++id)
        points.append(id);
    std::vector<std::string> names;
    open().readEach<TerminationPoint>(points, Detail::Standard, [&](const TerminationPoint& point) {
        names.push_back(point.name.managedElement + " " + point.name.port + " " + point.name.ctp);
    });
    EXPECT_THAT(
        names, ElementsAre("A p1 /direction=src/sts3c_au4-j=2", "B p1 ", "B p1 /a=1", "A p1 /a=1"));
}

}  // namespace
}  // namespace kelp::test
