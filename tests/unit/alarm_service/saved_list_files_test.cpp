#include <gtest/gtest.h>
#include <kelp/alarms/alarm_list.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "service/saved_lists.h"
#include "service_fixture.h"
#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

/// A list with this many alarms, the last one at that position.
std::shared_ptr<const alarms::ListState> listOf(int count) {
    alarms::AlarmList list;
    for (int i = 1; i <= count; ++i)
        list.apply(static_cast<alarms::Position>(i), {i, raise(i)});
    return list.snapshot();
}

class SavedListFiles : public testing::Test {
  protected:
    std::filesystem::path fileOf(int position) const {
        return folder_ / "lists" / ("alarms-" + std::to_string(position) + ".list");
    }

    TemporaryDirectory folder_;
    const alarms::SavedLists files_{folder_ / "lists"};
};

TEST_F(SavedListFiles, HoldWhatWasSaved) {
    const auto state = listOf(1000);
    files_.save(state);
    EXPECT_TRUE(files_.load(1000) == *state);
}

TEST_F(SavedListFiles, HoldAnEmptyList) {
    files_.save(listOf(0));
    EXPECT_EQ(files_.load(0).size(), 0u);
}

TEST_F(SavedListFiles, AreReadableForTheirOwnerOnly) {
    files_.save(listOf(1));
    EXPECT_EQ(std::filesystem::status(fileOf(1)).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(SavedListFiles, AreTwoAtMost) {
    for (int i = 1; i <= 4; ++i)
        files_.save(listOf(i));
    EXPECT_EQ(files_.positions(), (std::vector<alarms::Position>{4, 3}));
}

TEST_F(SavedListFiles, AreNoneWithoutAFolder) {
    EXPECT_TRUE(files_.positions().empty());
}

TEST_F(SavedListFiles, IgnoreOtherFiles) {
    files_.save(listOf(3));
    for (const char* name : {"alarms-.list", "alarms-x.list", "alarms-7", "alarms-7.list.part",
                             "alarms-99999999999999999999999.list"})
        std::ofstream(folder_ / "lists" / name) << "x";
    EXPECT_EQ(files_.positions(), (std::vector<alarms::Position>{3}));
}

TEST_F(SavedListFiles, AreSavedAlthoughACrashLeftAPart) {
    files_.save(listOf(1));
    std::ofstream(fileOf(2).string() + ".part") << "half";
    files_.save(listOf(2));
    EXPECT_EQ(files_.load(2).size(), 2u);
    EXPECT_FALSE(std::filesystem::exists(fileOf(2).string() + ".part"));
}

TEST_F(SavedListFiles, AreRefusedWithAnyOctetChanged) {
    files_.save(listOf(3));
    const std::string content = contentOf(fileOf(3));
    for (std::size_t at = 0; at < content.size(); ++at) {
        std::string changed = content;
        changed[at] = static_cast<char>(changed[at] ^ 0x20);
        std::ofstream(fileOf(3), std::ios::binary | std::ios::trunc) << changed;
        EXPECT_THROW(files_.load(3), std::runtime_error) << at;
    }
}

TEST_F(SavedListFiles, AreRefusedWhenCutShort) {
    files_.save(listOf(3));
    const std::string content = contentOf(fileOf(3));
    for (std::size_t length = 0; length < content.size(); ++length) {
        std::filesystem::resize_file(fileOf(3), length);
        EXPECT_THROW(files_.load(3), std::runtime_error) << length;
        std::ofstream(fileOf(3), std::ios::binary | std::ios::trunc) << content;
    }
}

TEST_F(SavedListFiles, AreRefusedUnderAnotherName) {
    files_.save(listOf(3));
    std::filesystem::rename(fileOf(3), fileOf(5));
    EXPECT_THROW(files_.load(5), std::runtime_error);
}

TEST_F(SavedListFiles, NameTheFileThatCannotBeWritten) {
    std::ofstream(folder_ / "lists") << "no folder";
    try {
        files_.save(listOf(1));
        FAIL() << "it is saved";
    } catch (const std::runtime_error& failure) {
        EXPECT_NE(std::string(failure.what()).find(folder_.path().string()), std::string::npos);
    }
}

}  // namespace
}  // namespace kelp::test
