#include "state/manifest.h"

#include <gmock/gmock.h>

namespace kelp::test {
namespace {

TEST(Manifest, SurvivesItsText) {
    state::Manifest manifest = state::newManifest("a kind");
    manifest.files = {{"one", 1, std::string(64, 'a'), "/some/where"},
                      {"two", 2, std::string(64, 'b'), ""}};
    const state::Manifest read = state::parseManifest(state::textOf(manifest), "a kind");
    EXPECT_EQ(read.created, manifest.created);
    EXPECT_EQ(read.version, manifest.version);
    ASSERT_EQ(read.files.size(), 2u);
    EXPECT_EQ(read.files[0].name, "one");
    EXPECT_EQ(read.files[0].origin, "/some/where");
    EXPECT_EQ(read.files[1].sha256, std::string(64, 'b'));
    EXPECT_EQ(read.bytes(), 3u);
    EXPECT_THROW(state::parseManifest(state::textOf(manifest), "another"), std::runtime_error);
}

}  // namespace
}  // namespace kelp::test
