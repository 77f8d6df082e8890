// A disk that is really full: a small file system in memory. Built only where such a disk can be
// mounted.

#include "log_fixture.h"
#include "support/small_disk.h"

namespace kelp::test {
namespace {

class FullDiskOfChangeLog : public ChangeLogTest {
  protected:
    void SetUp() override { ASSERT_TRUE(disk_.isMounted()); }

    const SmallDisk disk_{folder_.path()};
};

TEST_F(FullDiskOfChangeLog, RefusesAWholeAppendAndGoesOnWhenThereIsRoom) {
    const auto log = open();
    const Position before = appendOne(*log, "before").position;
    disk_.fill();
    const std::vector<NewRecord> records(20, {"", std::string(10000, 'x')});
    try {
        // the WAL file may have free space within its last block
        for (int i = 0; i < 2; ++i)
            log->append(records);
        FAIL() << "the disk is not full";
    } catch (const LogFailure& failure) {
        EXPECT_TRUE(failure.isFull()) << failure.what();
        EXPECT_THAT(failure.what(), testing::HasSubstr(file().string()));
    }
    EXPECT_EQ(log->last(), before);
    EXPECT_EQ(contentsOf(*log).size(), 1U);
    disk_.makeRoom();
    EXPECT_EQ(appendOne(*log, "after").position, before + 1);
    EXPECT_THAT(contentsOf(*log), testing::ElementsAre("before", "after"));
}

}  // namespace
}  // namespace kelp::test
