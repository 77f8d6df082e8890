// kelpctl inventory on databases of the test.

#include <gmock/gmock.h>
#include <kelp/inventory/inventory.h>
#include <nlohmann/json.hpp>

#include "common/progress_bar.h"
#include "kelpctl_fixture.h"
#include "support/pseudo_terminal.h"

namespace kelp::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

class InventoryCommands : public KelpctlTest {
  protected:
    InventoryCommands() {
        folder.write("one.jsonl",
                     R"({"object":"ManagedElement","ManagedElement":"A","productName":"P"})");
        folder.write("two.jsonl",
                     R"({"object":"ManagedElement","ManagedElement":"B","productName":"P"})");
    }
    std::uint64_t elements() {
        return json::parse(kelpctl("inventory stats --json").output)["managedElements"];
    }
};

TEST_F(InventoryCommands, ImportReportsTheNumberOfObjects) {
    EXPECT_EQ(kelpctl("inventory import one.jsonl").output, "1 object(s) added, 0 updated\n");
    EXPECT_EQ(kelpctl("inventory import one.jsonl").output, "0 object(s) added, 1 updated\n");
    EXPECT_EQ(kelpctl("inventory import two.jsonl --replace").output,
              "1 object(s) added, 0 updated\n");
    EXPECT_EQ(elements(), 1u);
}

TEST_F(InventoryCommands, ADryRunChangesNothing) {
    EXPECT_EQ(kelpctl("inventory import one.jsonl --dry-run").output,
              "dry run: 1 object(s) added, 0 updated\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "inventory.db"));
}

TEST_F(InventoryCommands, ProblemsOfAnImportAreListed) {
    std::string lines;
    for (int i = 0; i < 25; ++i)
        lines += "{}\n";
    folder.write("bad.jsonl", lines);
    const ToolRun run = kelpctl("inventory import bad.jsonl");
    EXPECT_EQ(run.status, 1) << run;
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, StartsWith("bad.jsonl:1: has no key \"object\"\nbad.jsonl:2: "));
    EXPECT_THAT(run.errors, testing::EndsWith("bad.jsonl:20: has no key \"object\"\nand 5 more\n"
                                              "kelpctl: nothing was imported: 25 problem(s)\n"));
}

TEST_F(InventoryCommands, ExportWritesWhatImportReads) {
    ASSERT_EQ(kelpctl("inventory generate --elements 10 --ports 100").status, 0);
    const ToolRun shown = kelpctl("inventory export -");
    ASSERT_EQ(shown.status, 0) << shown;
    EXPECT_EQ(kelpctl("inventory export network.jsonl").status, 0);
    EXPECT_EQ(contentOf(folder / "network.jsonl"), shown.output);
    EXPECT_FALSE(std::filesystem::exists(folder / "network.jsonl.partial"));
    EXPECT_EQ(kelpctl("inventory export --csv network").status, 0);
    for (const char* const source : {"network", "network.jsonl"}) {
        EXPECT_EQ(
            kelpctl(std::string("inventory import --replace --database copy.db ") + source).status,
            0);
        EXPECT_EQ(kelpctl("inventory export --database copy.db -").output, shown.output);
    }
}

TEST_F(InventoryCommands, StatsAreATableOrJson) {
    ASSERT_EQ(kelpctl("inventory import one.jsonl").status, 0);
    const ToolRun table = kelpctl("inventory stats");
    EXPECT_THAT(table.output, StartsWith("managed elements                    1\n  P   "));
    EXPECT_THAT(table.output, HasSubstr("\nphysical ports (PTP)                0\n"));
    const json counts = json::parse(kelpctl("inventory stats --json").output);
    EXPECT_EQ(counts["managedElementsByProduct"]["P"], 1);
    EXPECT_EQ(counts["topologicalLinks"], 0);
    EXPECT_EQ(counts["subnetworks"], 0);
}

TEST_F(InventoryCommands, GenerateFillsAnEmptyInventory) {
    EXPECT_THAT(kelpctl("inventory generate --elements 10 --ports 100 --seed 3").output,
                StartsWith("10 managed element(s), 100 port(s), "));
    EXPECT_TRUE(kelpctl("inventory generate --elements 5 --ports 5").failedWith(1, "is not empty"));
    EXPECT_EQ(kelpctl("inventory generate --elements 5 --ports 5 --replace").status, 0);
    EXPECT_EQ(elements(), 5u);
    EXPECT_GT(json::parse(kelpctl("inventory stats --json").output)["subnetworks"], 0);
}

TEST_F(InventoryCommands, TheConfiguredDatabaseIsUsed) {
    folder.write("kelp.toml", "[inventory]\ndatabase = \"" + (folder / "net.db").string() + "\"\n");
    ASSERT_EQ(kelpctl("inventory import one.jsonl").status, 0);
    EXPECT_TRUE(inventory::Inventory(folder / "net.db").find(inventory::ManagedElementName{"A"}));
}

TEST_F(InventoryCommands, FailuresSayWhyInOneLine) {
    EXPECT_TRUE(kelpctl("inventory stats").failedWith(1, "inventory.db does not exist"));
    EXPECT_TRUE(kelpctl("inventory export -").failedWith(1, "inventory.db does not exist"));
    EXPECT_TRUE(kelpctl("inventory import none.jsonl").failedWith(1, "none.jsonl does not exist"));
    EXPECT_TRUE(kelpctl("inventory import").failedWith(2, "SOURCE"));
    EXPECT_TRUE(kelpctl("inventory").failedWith(2, "subcommand"));
    EXPECT_TRUE(kelpctl("inventory generate --elements 0 --ports 1").failedWith(2, "--elements"));
    EXPECT_TRUE(kelpctl("inventory generate --elements 5").failedWith(2, "--ports"));
    folder.write("garbage.db", std::string(10000, 'g'));
    EXPECT_TRUE(kelpctl("inventory stats --database garbage.db").failedWith(1, "is damaged"));
    ASSERT_EQ(kelpctl("inventory import one.jsonl").status, 0);
    EXPECT_TRUE(kelpctl("inventory export none/network.jsonl").failedWith(1, "cannot be written"));
}

TEST_F(InventoryCommands, OnlyATerminalShowsABar) {
    EXPECT_EQ(kelpctl("inventory import one.jsonl").errors, "");
    PseudoTerminal terminal({KELPCTL, "--config", (folder / "kelp.toml").string(), "inventory",
                             "import", (folder / "two.jsonl").string()});
    EXPECT_TRUE(terminal.isShown("importing [########################################] 100 %"));
    EXPECT_TRUE(terminal.isShown("1 object(s) added"));
    EXPECT_EQ(terminal.status(), 0);
}

TEST(ProgressLine, GrowsWithWhatIsDone) {
    EXPECT_EQ(tools::progressLine("x", 0, 8), "x [" + std::string(40, '.') + "]   0 %");
    EXPECT_EQ(tools::progressLine("x", 2, 8),
              "x [" + std::string(10, '#') + std::string(30, '.') + "]  25 %");
    EXPECT_EQ(tools::progressLine("x", 9, 8), "x [" + std::string(40, '#') + "] 100 %");
    EXPECT_EQ(tools::progressLine("x", 0, 0), "x [" + std::string(40, '#') + "] 100 %");
}

}  // namespace
}  // namespace kelp::test
