#include <gtest/gtest.h>
#include <kelp/nms/naming_walk.h>

#include <map>
#include <set>
#include <stdexcept>

namespace kelp::nms {
namespace {

/// A naming service built from paths. The contexts above an object are created automatically.
class PlantedTree : public NamingTree {
  public:
    PlantedTree& object(const std::string& text) { return plant(toNamingPath(text), false); }
    PlantedTree& context(const std::string& text) { return plant(toNamingPath(text), true); }
    PlantedTree& factoryType(const std::string& text) {
        factories_.insert(text);
        return object(text);
    }
    PlantedTree& unreadable(const std::string& text) {
        unreadable_.insert(text);
        return *this;
    }

    std::vector<NamingEntry> list(const NamingPath& context) override {
        ++listings;
        if (unreadable_.count(toText(context)) != 0)
            throw std::runtime_error("cannot be listed");
        return entries_[toText(context)];
    }
    bool isFactory(const NamingPath& object) override {
        return factories_.count(toText(object)) != 0;
    }

    int listings = 0;

  private:
    PlantedTree& plant(NamingPath path, bool isContext) {
        while (!path.empty()) {
            const NamingComponent last = path.back();
            path.pop_back();
            std::vector<NamingEntry>& siblings = entries_[toText(path)];
            bool known = false;
            for (const NamingEntry& each : siblings)
                known = known || each.name == last;
            if (!known)
                siblings.push_back({last, isContext});
            isContext = true;
        }
        return *this;
    }

    std::map<std::string, std::vector<NamingEntry>> entries_;
    std::set<std::string> factories_;
    std::set<std::string> unreadable_;
};

/// A context that contains itself twice.
class EndlessTree : public NamingTree {
  public:
    std::vector<NamingEntry> list(const NamingPath&) override {
        ++listings;
        return {{{"again", ""}, true}, {{"and again", ""}, true}};
    }
    bool isFactory(const NamingPath&) override { return false; }

    int listings = 0;
};

std::vector<std::string> factoriesOf(NamingTree& tree) {
    std::vector<NamingPath> unreadable;
    std::vector<std::string> texts;
    for (const NamingPath& path : findFactories(tree, unreadable))
        texts.push_back(toText(path));
    return texts;
}

const std::string kKelp =
    "TMF_MTNM.Class/Kelp.Vendor/Kelp\\/EMS.EmsInstance/3_5.Version/Kelp\\/EMS.EmsSessionFactory_I";

TEST(NamingWalk, FactoryIsFoundByTheKindOfItsName) {
    PlantedTree tree;
    tree.object("printer.Device").object(kKelp).context("empty.Class");
    EXPECT_EQ(factoriesOf(tree), std::vector<std::string>{kKelp});
}

TEST(NamingWalk, FactoryUnderAnotherKindIsFoundByItsType) {
    PlantedTree tree;
    tree.object("site/other.Object").factoryType("site/ems.Object");
    EXPECT_EQ(factoriesOf(tree), std::vector<std::string>{"site/ems.Object"});
}

TEST(NamingWalk, ContextOfTheFactorysKindIsNoFactory) {
    PlantedTree tree;
    tree.context("a.EmsSessionFactory_I");
    EXPECT_TRUE(factoriesOf(tree).empty());
}

TEST(NamingWalk, AllFactoriesAreFoundInTheOrderOfTheListings) {
    PlantedTree tree;
    const std::string second = "TMF_MTNM.Class/Other.Vendor/Other\\/EMS.EmsSessionFactory_I";
    tree.object(kKelp).object(second);
    EXPECT_EQ(factoriesOf(tree), (std::vector<std::string>{kKelp, second}));
}

TEST(NamingWalk, ContextThatCannotBeListedIsLeftOutAndNamed) {
    PlantedTree tree;
    tree.object("dead/x.EmsSessionFactory_I").unreadable("dead").object(kKelp);
    std::vector<NamingPath> unreadable;
    const auto found = findFactories(tree, unreadable);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(toText(found[0]), kKelp);
    ASSERT_EQ(unreadable.size(), 1u);
    EXPECT_EQ(toText(unreadable[0]), "dead");
}

TEST(NamingWalk, RootThatCannotBeListedIsAnError) {
    PlantedTree tree;
    tree.unreadable("");
    EXPECT_THROW(factoriesOf(tree), std::runtime_error);
}

TEST(NamingWalk, CycleOfContextsEnds) {
    EndlessTree tree;
    EXPECT_TRUE(factoriesOf(tree).empty());
    EXPECT_LE(tree.listings, 10000);
}

TEST(NamingWalk, ContextsDeeperThanTheStandardsPathAreVisited) {
    PlantedTree tree;
    tree.object("company/site/" + kKelp);
    EXPECT_EQ(factoriesOf(tree), std::vector<std::string>{"company/site/" + kKelp});
}

}  // namespace
}  // namespace kelp::nms
