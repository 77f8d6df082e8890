// How changes of the network get into a dump file.

#include "dumps/dump_rewrite.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "dumps/pending_changes.h"
#include "support/temporary_directory.h"
#include "text/output.h"

namespace kelp::nms {
namespace {

using Json = nlohmann::ordered_json;
using test::TemporaryDirectory;
using testing::ElementsAre;
using testing::HasSubstr;

Json nameOf(const std::vector<std::pair<std::string, std::string>>& below) {
    Json name = Json::array({{{"name", "EMS"}, {"value", "E"}}});
    for (const auto& [key, value] : below)
        name.push_back({{"name", key}, {"value", value}});
    return name;
}
Json object(const char* kind, const std::vector<std::pair<std::string, std::string>>& below) {
    return {{"object", kind}, {"name", nameOf(below)}, {"userLabel", ""}};
}
Json element(const std::string& name) {
    return object("ManagedElement", {{"ManagedElement", name}});
}
Json port(const std::string& element, const std::string& name) {
    return object("TerminationPoint", {{"ManagedElement", element}, {"PTP", name}});
}
Json holder(const std::string& element, const std::string& name) {
    return object("EquipmentHolder", {{"ManagedElement", element}, {"EquipmentHolder", name}});
}
Json link(const std::string& name) {
    return object("TopologicalLink", {{"TopologicalLink", name}});
}
EventRecord created(const Json& object) {
    return {"NT_OBJECT_CREATION", {}, {{"name", object["name"]}, {"object", object}}};
}
EventRecord deleted(const Json& object) {
    return {"NT_OBJECT_DELETION", {}, {{"name", object["name"]}}};
}
EventRecord changed(const Json& object, const std::string& attribute, const Json& value) {
    return {"NT_ATTRIBUTE_VALUE_CHANGE",
            {},
            {{"name", object["name"]},
             {"attributes", Json::array({{{"name", attribute}, {"value", value}}})}}};
}

class DumpRewrite : public testing::Test {
  protected:
    DumpRewrite() {
        write({object("EMS", {}), element("A"), element("B"), holder("A", "/r"), port("A", "p1"),
               port("B", "p1"), link("A-B")});
    }
    void write(const std::vector<Json>& objects) {
        std::ofstream out(file_);
        for (const Json& each : objects)
            out << each.dump() << '\n';
    }
    void apply(const std::vector<EventRecord>& events) {
        PendingChanges changes;
        for (const EventRecord& each : events)
            EXPECT_TRUE(changes.take(each));
        rewriteDump(file_, changes);
    }
    std::vector<Json> objects() const {
        std::vector<Json> all;
        std::ifstream in(file_);
        for (std::string line; std::getline(in, line);)
            all.push_back(Json::parse(line));
        return all;
    }
    std::size_t files() const {
        std::size_t count = 0;
        for (const auto& each : std::filesystem::directory_iterator(folder_.path())) {
            static_cast<void>(each);
            ++count;
        }
        return count;
    }

    TemporaryDirectory folder_;
    const std::filesystem::path file_ = folder_.path() / "network.jsonl";
};

TEST_F(DumpRewrite, CreatedObjectsFollowTheOthersOfTheirKind) {
    apply({created(element("C")), created(port("A", "p2")), created(port("C", "p1")),
           created(link("B-C")), created(holder("B", "/r"))});
    EXPECT_THAT(objects(),
                ElementsAre(object("EMS", {}), element("A"), element("B"), element("C"),
                            holder("A", "/r"), port("A", "p1"), port("A", "p2"), holder("B", "/r"),
                            port("B", "p1"), port("C", "p1"), link("A-B"), link("B-C")));
    EXPECT_EQ(files(), 1u);
}

TEST_F(DumpRewrite, CreatedObjectThatIsInTheFileReplacesIt) {
    Json again = port("A", "p1");
    again["userLabel"] = "new";
    apply({created(again), created(again)});
    EXPECT_THAT(objects(), ElementsAre(object("EMS", {}), element("A"), element("B"),
                                       holder("A", "/r"), again, port("B", "p1"), link("A-B")));
}

TEST_F(DumpRewrite, DeletedElementTakesItsContentWithIt) {
    apply({changed(port("A", "p1"), "userLabel", "x"), created(port("A", "p2")),
           deleted(element("A"))});
    EXPECT_THAT(objects(),
                ElementsAre(object("EMS", {}), element("B"), port("B", "p1"), link("A-B")));
}

TEST_F(DumpRewrite, ElementThatWasReplacedHasItsNewContentOnly) {
    apply({deleted(element("A")), created(element("A")), created(port("A", "p9"))});
    EXPECT_THAT(objects(), ElementsAre(object("EMS", {}), element("A"), element("B"),
                                       port("A", "p9"), port("B", "p1"), link("A-B")));
}

TEST_F(DumpRewrite, AttributesAreChangedInTheOrderOfTheEvents) {
    apply({changed(element("A"), "userLabel", "first"), changed(element("A"), "userLabel", "last"),
           created(element("C")), changed(element("C"), "userLabel", "third")});
    EXPECT_EQ(objects()[1]["userLabel"], "last");
    EXPECT_EQ(objects()[3]["userLabel"], "third");
}

TEST_F(DumpRewrite, UnknownObjectsAndConnectionPointsHaveNoEffect) {
    const std::vector<Json> before = objects();
    apply({changed(element("Z"), "userLabel", "x"),
           deleted(link("Z")),
           created(object("TerminationPoint",
                          {{"ManagedElement", "A"}, {"PTP", "p1"}, {"CTP", "/au4=1"}})),
           {"NT_ALARM", {}, nullptr}});
    EXPECT_EQ(objects(), before);
}

TEST_F(DumpRewrite, FileThatIsNotADumpStaysAsItIs) {
    std::ofstream(file_, std::ios::app) << "half a li";
    PendingChanges changes;
    changes.take(deleted(element("A")));
    EXPECT_THROW(rewriteDump(file_, changes), NotADump);
    EXPECT_THAT(test::contentOf(file_), HasSubstr("\"A\""));
    EXPECT_EQ(files(), 1u);
    std::filesystem::remove(file_);
    EXPECT_THROW(rewriteDump(file_, changes), NotADump);
}

TEST(SetAttribute, ChangedInformationIsMerged) {
    const auto pair = [](const char* name, const char* value) {
        return Json{{"name", name}, {"value", value}};
    };
    Json port;
    port["additionalInfo"] = Json::array({pair("a", "1"), pair("b", "2")});
    setAttribute(port, "additionalInfo",
                 Json::array({pair("a", "-"), pair("b", "3"), pair("c", "4"), pair("d", "-")}));
    EXPECT_EQ(port["additionalInfo"], Json::array({pair("b", "3"), pair("c", "4")}));
    const auto layer = [](int rate, const Json& parameters) {
        return Json{{"layer", rate}, {"transmissionParams", parameters}};
    };
    port["transmissionParams"] =
        Json::array({layer(47, Json::array({pair("x", "1")})), layer(22, Json::array())});
    setAttribute(port, "transmissionParams",
                 Json::array({layer(47, Json::array({pair("y", "2")})), layer(15, Json::array())}));
    EXPECT_EQ(port["transmissionParams"],
              Json::array({layer(47, Json::array({pair("x", "1"), pair("y", "2")})),
                           layer(15, Json::array())}));
}

TEST(PendingChanges, RefuseWhatCannotBeUsedAndWhatIsTooMuch) {
    PendingChanges changes;
    EXPECT_FALSE(changes.take({"NT_OBJECT_DELETION", {}, {{"name", "text"}}}));
    EXPECT_FALSE(changes.take({"NT_OBJECT_DELETION", {}, {{"name", Json::array({7})}}}));
    EXPECT_FALSE(
        changes.take({"NT_OBJECT_CREATION",
                      {},
                      {{"name", nameOf({{"ManagedElement", "A"}})}, {"object", nullptr}}}));
    EventRecord odd = changed(element("A"), "userLabel", "x");
    odd.change["attributes"] = 7;
    EXPECT_FALSE(changes.take(odd));
    PendingChanges many(100);
    std::size_t count = 0;
    while (many.take(deleted(element(std::to_string(count)))))
        ++count;
    EXPECT_EQ(count, 100u);
    PendingChanges large(100, 64'000);
    const std::string text(8000, 'x');
    count = 0;
    while (large.take(changed(element("A"), "userLabel", text)))
        ++count;
    EXPECT_EQ(count, 7u);
}

}  // namespace
}  // namespace kelp::nms
