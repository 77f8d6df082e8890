#include <gtest/gtest.h>
#include <kelp/util/shown_file.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/temporary_directory.h"

namespace kelp::util {
namespace {

namespace fs = std::filesystem;

class ShownFileTest : public testing::Test {
  protected:
    std::size_t filesInTheFolder() const {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry : fs::directory_iterator(folder_.path()))
            ++count;
        return count;
    }
    test::TemporaryDirectory folder_;
    fs::path file_ = folder_ / "ems.ior";
    ShownFile shown_;
};

TEST_F(ShownFileTest, HoldsTheTextUntilItIsRemoved) {
    EXPECT_EQ(shown_.show(file_, "IOR:00\n"), "");
    EXPECT_EQ(test::contentOf(file_), "IOR:00\n");
    EXPECT_EQ(filesInTheFolder(), 1u);
    shown_.remove();
    EXPECT_EQ(filesInTheFolder(), 0u);
    shown_.remove();
}

TEST_F(ShownFileTest, IsRemovedWithItsOwner) {
    {
        ShownFile owned;
        EXPECT_EQ(owned.show(file_, "text"), "");
    }
    EXPECT_EQ(filesInTheFolder(), 0u);
}

TEST_F(ShownFileTest, IsReadableForAllWhateverTheUmask) {
    const mode_t before = ::umask(0777);
    const std::string problem = shown_.show(file_, "text");
    ::umask(before);
    EXPECT_EQ(problem, "");
    EXPECT_EQ(fs::status(file_).permissions(), fs::perms(0644));
}

TEST_F(ShownFileTest, TakesThePlaceOfALinkAndLeavesWhereItLed) {
    folder_.write("other", "theirs");
    fs::create_symlink(folder_ / "other", file_);
    EXPECT_EQ(shown_.show(file_, "ours"), "");
    EXPECT_FALSE(fs::is_symlink(file_));
    EXPECT_EQ(test::contentOf(folder_ / "other"), "theirs");
}

TEST_F(ShownFileTest, LeavesAFileThatIsSomebodyElsesByThen) {
    EXPECT_EQ(shown_.show(file_, "ours"), "");
    folder_.write("ems.ior", "theirs");
    shown_.remove();
    EXPECT_EQ(test::contentOf(file_), "theirs");
    EXPECT_EQ(shown_.show(file_, "ours"), "");
    folder_.write("other", "ours");
    fs::remove(file_);
    fs::create_symlink(folder_ / "other", file_);
    shown_.remove();
    EXPECT_TRUE(fs::is_symlink(file_));
}

TEST_F(ShownFileTest, ThatCannotBeWrittenIsNamedAndLeavesNothing) {
    const std::string problem = shown_.show(folder_ / "absent" / "ems.ior", "text");
    EXPECT_NE(problem.find("cannot write " + (folder_ / "absent" / "ems.ior").string() +
                           ": No such file"),
              std::string::npos)
        << problem;
    fs::create_directory(file_);
    EXPECT_NE(shown_.show(file_, "text"), "");
    EXPECT_EQ(filesInTheFolder(), 1u);
}

}  // namespace
}  // namespace kelp::util
