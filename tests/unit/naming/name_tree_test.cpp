#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <name_tree.h>

#include <stdexcept>

namespace kelp::naming {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using util::toNamingPath;
using Kind = NameTree::Kind;

class NameTreeTest : public testing::Test {
  protected:
    void expectFound(const char* path, Kind kind, std::size_t at) const {
        const NameTree::Found found = tree_.find(toNamingPath(path));
        EXPECT_EQ(found.kind, kind) << path;
        EXPECT_EQ(found.at, at) << path;
    }

    const NameTree tree_{
        {toNamingPath("a.x/b.y/object.z"), toNamingPath("a.x/short"), toNamingPath("top")}};
};

TEST_F(NameTreeTest, RootIsAContext) {
    EXPECT_TRUE(tree_.isContext({}));
}

TEST_F(NameTreeTest, EveryPathLeadsToTheObjectThroughContexts) {
    expectFound("a.x", Kind::Context, 1);
    expectFound("a.x/b.y", Kind::Context, 2);
    expectFound("a.x/b.y/object.z", Kind::Object, 3);
    expectFound("a.x/short", Kind::Object, 2);
    expectFound("top", Kind::Object, 1);
}

TEST_F(NameTreeTest, ComponentThatIsNotThereIsNamed) {
    expectFound("b.y", Kind::Nothing, 0);
    expectFound("a.x/c/d/e", Kind::Nothing, 1);
    expectFound("a.x/b.y/object", Kind::Nothing, 2);
}

TEST_F(NameTreeTest, IdAndKindCountBoth) {
    expectFound("a.y", Kind::Nothing, 0);
    expectFound("a", Kind::Nothing, 0);
    expectFound(".x", Kind::Nothing, 0);
}

TEST_F(NameTreeTest, PathThroughTheObjectDiffersFromAMissingOne) {
    expectFound("top/a", Kind::Through, 0);
    expectFound("a.x/b.y/object.z/more/still", Kind::Through, 2);
}

TEST_F(NameTreeTest, ListsAContextInOrder) {
    EXPECT_THAT(tree_.list({}),
                ElementsAre(NameEntry{{"a", "x"}, true}, NameEntry{{"top", ""}, false}));
    EXPECT_THAT(tree_.list(toNamingPath("a.x")),
                ElementsAre(NameEntry{{"b", "y"}, true}, NameEntry{{"short", ""}, false}));
}

TEST_F(NameTreeTest, ListsNothingElse) {
    EXPECT_THAT(tree_.list(toNamingPath("top")), IsEmpty());
    EXPECT_THAT(tree_.list(toNamingPath("nothing")), IsEmpty());
}

TEST(NameTree, TakesTheSamePathTwice) {
    const NameTree tree({toNamingPath("a/b"), toNamingPath("a/b")});
    EXPECT_EQ(tree.find(toNamingPath("a/b")).kind, Kind::Object);
}

TEST(NameTree, RefusesPathsThatLeadThroughTheObject) {
    EXPECT_THROW(NameTree({toNamingPath("a/b"), toNamingPath("a/b/c")}), std::invalid_argument);
    EXPECT_THROW(NameTree({toNamingPath("a/b/c"), toNamingPath("a/b")}), std::invalid_argument);
    EXPECT_THROW(NameTree({util::NamingPath()}), std::invalid_argument);
}

}  // namespace
}  // namespace kelp::naming
