#include <rapidcheck.h>

#include "feed_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;

/// A random network over a few names, so that two networks have much in common.
std::string randomNetwork() {
    const auto chance = [](int percent) { return *rc::gen::inRange(0, 100) < percent; };
    const auto word = [] { return *rc::gen::element<std::string>("", "x", "y", "z"); };
    const auto values = [&] {
        nlohmann::json object = nlohmann::json::object();
        for (const char* const name : {"a", "b", "c/d"}) {
            if (chance(40))
                object[name] = "v" + word();
        }
        return object;
    };
    std::string lines;
    const auto add = [&](nlohmann::json object) {
        if (chance(50))
            object["owner"] = word();
        if (chance(30))
            object["userLabel"] = word();
        if (chance(50))
            object["additionalInfo"] = values();
        lines += object.dump() + "\n";
    };
    std::vector<nlohmann::json> ends;
    if (chance(50))
        add({{"object", "EMS"}});
    if (chance(50))
        add({{"object", "MultiLayerSubnetwork"}, {"MultiLayerSubnetwork", "S"}});
    for (const char* const element : {"A", "B", "C"}) {
        if (!chance(70))
            continue;
        add({{"object", "ManagedElement"},
             {"ManagedElement", element},
             {"productName", "P" + word()},
             {"emsInSyncState", chance(50)}});
        if (chance(60)) {
            add({{"object", "EquipmentHolder"},
                 {"ManagedElement", element},
                 {"EquipmentHolder", "/rack=1"},
                 {"holderState", chance(50) ? "EMPTY" : "UNKNOWN"}});
            if (chance(60))
                add({{"object", "Equipment"},
                     {"ManagedElement", element},
                     {"EquipmentHolder", "/rack=1"},
                     {"Equipment", "1"}});
        }
        for (const char* const port : {"p1", "p2"}) {
            if (!chance(60))
                continue;
            nlohmann::json layers = {{"47", values()}};
            if (chance(50))
                layers["22"] = values();
            add({{"object", "TerminationPoint"},
                 {"ManagedElement", element},
                 {"PTP", port},
                 {"transmissionParams", layers},
                 {"edgePoint", chance(50)}});
            ends.push_back({{"element", element}, {"port", port}});
            if (chance(30))
                add({{"object", "TerminationPoint"},
                     {"ManagedElement", element},
                     {"PTP", port},
                     {"CTP", "/sts3c_au4-j=1"},
                     {"transmissionParams", {{"15", values()}}}});
        }
    }
    if (ends.size() > 1 && chance(80)) {
        const nlohmann::json& a = ends[*rc::gen::inRange<std::size_t>(0, ends.size())];
        const nlohmann::json& z = ends[*rc::gen::inRange<std::size_t>(0, ends.size())];
        add({{"object", "TopologicalLink"},
             {"TopologicalLink", "L"},
             {"rate", 22},
             {"aEndManagedElement", a["element"]},
             {"aEndPTP", a["port"]},
             {"zEndManagedElement", z["element"]},
             {"zEndPTP", z["port"]}});
    }
    return lines;
}

class InventoryFeedProperty : public FeedTest {
  protected:
    void import(const std::filesystem::path& file, const std::string& network) {
        ImportOptions options;
        options.replace = true;
        RC_ASSERT(
            importInventory(file, folder.write("network.jsonl", network), options).problemCount ==
            0);
    }
    static void follow(ChangeFeed& changes, NetworkCopy& copy, std::size_t most) {
        for (;;) {
            const std::vector<ObjectChange> some = changes.next(most);
            if (some.empty())
                return;
            for (const ObjectChange& change : some)
                copy.apply(change);
            changes.handedOver(some.back());
        }
    }
};

TEST_F(InventoryFeedProperty, TheChangesTurnACopyOfTheOldNetworkIntoTheNewOne) {
    int round = 0;
    const bool holds = rc::check([&] {
        const std::filesystem::path file = folder / ("a" + std::to_string(round) + ".db");
        const std::filesystem::path fresh = folder / ("b" + std::to_string(round++) + ".db");
        ChangeFeed changes(file);
        NetworkCopy copy;
        std::string network;
        const int imports = *rc::gen::inRange(1, 5);
        for (int i = 0; i < imports; ++i) {
            network = randomNetwork();
            import(file, network);
            // some changes collapse with the next import's
            if (*rc::gen::arbitrary<bool>())
                follow(changes, copy, static_cast<std::size_t>(*rc::gen::inRange(1, 6)));
        }
        follow(changes, copy, 4);
        ChangeFeed freshChanges(fresh);
        import(fresh, network);
        NetworkCopy expected;
        follow(freshChanges, expected, 100);
        // the EMS exists always: without attributes it has empty ones
        const auto withEms = [](std::map<std::string, nlohmann::json> objects) {
            nlohmann::json& ems = objects[""];
            for (const char* const key : {"userLabel", "owner"}) {
                if (!ems.contains(key))
                    ems[key] = "";
            }
            if (!ems.contains("additionalInfo") || ems["additionalInfo"].is_null())
                ems["additionalInfo"] = nlohmann::json::object();
            return objects;
        };
        const bool isSame = withEms(copy.objects()) == withEms(expected.objects());
        if (!isSame)
            RC_LOG() << nlohmann::json(withEms(copy.objects())).dump(1) << "\ninstead of\n"
                     << nlohmann::json(withEms(expected.objects())).dump(1);
        RC_ASSERT(isSame);
    });
    EXPECT_TRUE(holds);
}

}  // namespace
}  // namespace kelp::test
