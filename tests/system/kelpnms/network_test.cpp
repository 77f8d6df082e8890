// kelpnms reads the network of a real host: content, formats, and batches of any size.

#include <gtest/gtest.h>

#include "network_fixture.h"
#include "support/pseudo_terminal.h"

namespace kelp::test {
namespace {

using Json = nlohmann::json;

class KelpnmsUpload : public KelpnmsNetworkTest {
  protected:
    /// Return what identifies an object: the values of its name without the EMS.
    static std::string identityOf(const Json& name) {
        std::string text;
        for (const Json& part : name) {
            if (part["name"] != "EMS")
                text +=
                    part["name"].get<std::string>() + "=" + part["value"].get<std::string>() + " ";
        }
        return text;
    }
    /// Return the same from a record of an inventory file, whose keys are the components of a name.
    static std::string identityInFile(const Json& record) {
        std::string text;
        for (const char* key :
             {"TopologicalLink", "ManagedElement", "EquipmentHolder", "Equipment", "PTP", "FTP"}) {
            if (record.contains(key))
                text += key + ("=" + record[key].get<std::string>()) + " ";
        }
        return text;
    }
    static std::set<std::string> uploaded(const std::string& lines) {
        std::set<std::string> objects;
        for (const std::string& line : linesOf(lines)) {
            const Json json = Json::parse(line);
            EXPECT_TRUE(objects.insert(identityOf(json["name"])).second) << "twice: " << line;
        }
        return objects;
    }
    /// Return the identities of all objects of these kinds in the sample network's file.
    static std::set<std::string> inSample(const std::set<std::string>& kinds) {
        std::set<std::string> objects;
        for (const std::string& line : linesOf(contentOf(SAMPLE_NETWORK))) {
            const Json json = Json::parse(line);
            if (kinds.contains(json["object"].get<std::string>()) && !json.contains("CTP"))
                objects.insert(identityInFile(json));
        }
        return objects;
    }
};

TEST_F(KelpnmsUpload, EveryBatchSizeGivesTheWholeNetwork) {
    startHostWithSample();
    const std::map<std::string, std::set<std::string>> kindsOf = {
        {"elements", {"ManagedElement"}},
        {"equipment", {"EquipmentHolder", "Equipment"}},
        {"ports", {"TerminationPoint"}},
        {"links", {"TopologicalLink"}}};
    for (const auto& [list, kinds] : kindsOf) {
        const std::string all = listed({list, "--json", "--batch", "4294967295"});
        EXPECT_EQ(uploaded(all), inSample(kinds)) << list;
        EXPECT_EQ(listed({list, "--json", "--batch", "1"}), all);
        EXPECT_EQ(listed({list, "--format", "json", "--batch", "7"}), all);
    }
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsUpload, AttributesAreThoseOfTheInventory) {
    startHostWithSample();
    const Json element =
        Json::parse(linesOf(listed({"elements", "--json", "--from", "Southport"})).front());
    EXPECT_EQ(element["name"], Json::parse(R"([{"name": "EMS", "value": "Kelp/EMS"},
                                               {"name": "ManagedElement", "value": "Southport"}])"));
    EXPECT_EQ(element["userLabel"], "Southport Exchange");
    EXPECT_EQ(element["nativeEMSName"], "NE-3");
    EXPECT_EQ(element["location"], "Southport, Exchange Street 24");
    EXPECT_EQ(element["productName"], "KX-480 Metro Node");
    EXPECT_EQ(element["communicationState"], "CS_AVAILABLE");
    EXPECT_EQ(element["supportedRates"], Json::parse("[11, 15]"));
    EXPECT_EQ(element["additionalInfo"],
              Json::parse(R"([{"name": "Manufacturer", "value": "Kelp Networks"}])"));

    const Json port = Json::parse(linesOf(listed({"ports", "Southport", "--json"})).front());
    EXPECT_EQ(port["userLabel"], "to Westering");
    EXPECT_EQ(port["transmissionParams"][0],
              Json::parse(R"({"layer": 47, "transmissionParams": []})"));
    EXPECT_EQ(port["transmissionParams"][1]["transmissionParams"][0],
              Json::parse(R"({"name": "TrailTraceActualTx", "value": "Southport"})"));

    std::map<std::string, Json> links;
    for (const std::string& line : linesOf(listed({"links", "--json"}))) {
        const Json link = Json::parse(line);
        links[link["name"][1]["value"]] = link;
    }
    const Json link = links["Northquay - Eastholm"];
    EXPECT_EQ(link["direction"], "CD_BI");
    EXPECT_EQ(link["rate"], 22);
    EXPECT_EQ(link["aEndTP"][1]["value"], "Northquay");
    EXPECT_EQ(link["zEndTP"][1]["value"], "Eastholm");
}

TEST_F(KelpnmsUpload, CsvHasTheSameContentAsJson) {
    startHost();
    const std::filesystem::path network = scratch_ / "odd.jsonl";
    writeFile(
        network,
        R"({"object": "ManagedElement", "ManagedElement": "a,b", "userLabel": "say \"hi\"", "nativeEMSName": "n", )"
        R"("location": "line 1\nline 2", "productName": "=1+1", "owner": " blank "})"
        "\n"
        R"({"object": "TerminationPoint", "ManagedElement": "a,b", "PTP": "/port=\"1\"", "userLabel": "é\r\n", )"
        R"("transmissionParams": {"LR_PHYSICAL_OPTICAL": {"k,1": "v\"2"}}})"
        "\n");
    inventory({"import", network.string()});
    inventory({"import", SAMPLE_NETWORK});
    const std::filesystem::path script = scratch_ / "compare.py";
    writeFile(script, R"(
import csv, json, sys
with open(sys.argv[1], newline='', encoding='utf-8') as file:
    rows = list(csv.DictReader(file, strict=True))
with open(sys.argv[2], encoding='utf-8') as file:
    records = [json.loads(line) for line in file]
assert len(rows) == len(records) > 0, (len(rows), len(records))
for row, record in zip(rows, records):
    assert None not in row and None not in row.values(), row
    for part in record['name']:
        assert row[part['name']] == part['value'], (row, part)
    for key, value in record.items():
        if key in row or key != 'object':
            cell = row[key]
            if not isinstance(value, str):
                cell = json.loads(cell) if cell else []
            assert cell == value, (key, cell, value)
)");
    for (const char* list : {"elements", "equipment", "ports", "links"}) {
        const std::string csv = listed({list, "--format", "csv", "--batch", "3"});
        EXPECT_EQ(csv.substr(csv.size() - 2), "\r\n");
        writeFile(scratch_ / "list.csv", csv);
        writeFile(scratch_ / "list.jsonl", listed({list, "--json"}));
        Launch python = launch({}, false);
        python.program = "/usr/bin/python3";
        python.arguments = {script.string(), (scratch_ / "list.csv").string(),
                            (scratch_ / "list.jsonl").string()};
        EXPECT_EQ(runToEnd(python), 0) << list << ": " << output();
    }
}

TEST_F(KelpnmsUpload, DumpHasTheListsInOneFile) {
    startHostWithSample();
    const std::filesystem::path file = scratch_ / "network.jsonl";
    EXPECT_EQ(run({"dump", file.string(), "--batch", "7"}), 0) << output();
    const std::string dump = contentOf(file);
    EXPECT_EQ(listed({"dump", "--batch", "1"}), dump);
    std::string inOrder;
    for (const char* element : {"Northquay", "Eastholm", "Southport", "Westering"})
        inOrder += listed({"equipment", element, "--json"}) + listed({"ports", element, "--json"});
    const std::string begin = dump.substr(0, dump.find("{\"object\":\"ManagedElement\""));
    std::vector<std::string> kinds;
    for (const std::string& line : linesOf(begin))
        kinds.push_back(Json::parse(line)["object"]);
    EXPECT_EQ(kinds,
              (std::vector<std::string>{"EMS", "MultiLayerSubnetwork", "MultiLayerSubnetwork"}));
    EXPECT_EQ(dump, begin + listed({"elements", "--json"}) + inOrder + listed({"links", "--json"}));
    const std::string resumed = listed({"dump", "--from", "Southport"});
    EXPECT_EQ(dump.substr(dump.size() - resumed.size()), resumed);
    EXPECT_EQ(resumed.find("\"Eastholm\"}],\"userLabel"), std::string::npos);
}

TEST_F(KelpnmsUpload, ListsBeginWithTheElementNamed) {
    startHostWithSample();
    const std::string elements = listed({"elements", "--json"});
    const std::string ports = listed({"ports", "--json"});
    const std::string laterElements =
        listed({"elements", "--json", "--from", "Southport", "--batch", "1"});
    const std::string laterPorts =
        listed({"ports", "--json", "--from", "Southport", "--batch", "7"});
    EXPECT_EQ(linesOf(laterElements).size(), 2u);
    EXPECT_EQ(elements.substr(elements.size() - laterElements.size()), laterElements);
    EXPECT_EQ(laterPorts, listed({"ports", "Southport", "Westering", "--json"}));
    EXPECT_EQ(ports.substr(ports.size() - laterPorts.size()), laterPorts);
    for (const char* list : {"elements", "ports", "equipment", "dump"}) {
        EXPECT_EQ(run({list, "--from", "Nowhere"}), 2);
        EXPECT_TRUE(log_.contains("there is no element \"Nowhere\"")) << output();
    }
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsUpload, ElementThatTheEmsDoesNotHaveIsReported) {
    startHostWithSample();
    const std::filesystem::path file = scratch_ / "ports";
    EXPECT_EQ(runToEnd(launchTo(file, {"ports", "Nowhere", "Eastholm", "--json"})), 8);
    EXPECT_TRUE(log_.contains("getAllPTPs(Nowhere): EXCPT_ENTITY_NOT_FOUND")) << output();
    EXPECT_EQ(contentOf(file), listed({"ports", "Eastholm", "--json"}));
}

TEST_F(KelpnmsUpload, EmptyInventoryIsNoFailure) {
    startHost();
    EXPECT_EQ(linesOf(listed({"elements"})).size(), 1u);
    EXPECT_EQ(linesOf(listed({"ports", "--format", "csv"})).size(), 1u);
    EXPECT_EQ(listed({"equipment", "--json"}), "");
    EXPECT_EQ(listed({"links", "--json"}), "");
    const std::vector<std::string> dump = linesOf(listed({"dump"}));
    ASSERT_EQ(dump.size(), 1u);
    EXPECT_EQ(Json::parse(dump.front())["object"], "EMS");
}

TEST_F(KelpnmsUpload, ManagerThatTheEmsDoesNotHaveIsNamed) {
    host_.set("bundles", "load", "['kelp_ems', 'kelp_managedelement', 'mx_kelpcorba_env']");
    startHostWithSample();
    EXPECT_EQ(run({"equipment"}), 7);
    EXPECT_EQ(output(), "kelpnms: the EMS has no manager EquipmentInventory\n");
    EXPECT_EQ(runToEnd(launchTo(scratch_ / "dump", {"dump"})), 0);
    EXPECT_EQ(output(),
              "kelpnms: the EMS has no manager EquipmentInventory: equipment is left out\n");
    const std::string dump = contentOf(scratch_ / "dump");
    EXPECT_EQ(dump.find("EquipmentHolder\",\"value"), std::string::npos);
    const std::string ports = listed({"ports", "--json"});
    EXPECT_NE(dump.find(ports), std::string::npos) << "nothing stands between the elements' ports";
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsUpload, TerminalShowsTheBarAndATableOfItsWidth) {
    startHostWithSample();
    std::vector<std::string> command = commandLine({"ports", "--batch", "1"});
    command.insert(command.begin(), KELPNMS);
    PseudoTerminal terminal(command, 78, {{"TERM", "xterm"}, {"NO_COLOR", "1"}});
    ASSERT_TRUE(terminal.isShown("ports [")) << terminal.shown();
    ASSERT_TRUE(terminal.isShown("ELEMENT")) << terminal.shown();
    EXPECT_FALSE(terminal.isShown("nothing that is there")) << "reads to the end";
    EXPECT_EQ(terminal.status(), 0);
    std::size_t rows = 0;
    for (const std::string& line : linesOf(terminal.shown())) {
        const std::string row =
            line.substr(line.rfind("\033[K") == std::string::npos ? 0 : line.rfind("\033[K") + 3);
        if (row.find("BIDIR") != std::string::npos) {
            ++rows;
            EXPECT_LE(row.find('\r'), 78u) << row;
        }
    }
    EXPECT_EQ(rows, linesOf(listed({"ports", "--json"})).size());
}

}  // namespace
}  // namespace kelp::test
