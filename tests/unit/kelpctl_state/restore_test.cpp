#include "state/restore.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <kelp/admin/restore_marks.h>
#include <kelp/admin/state_claim.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "state/backup.h"
#include "state/stopped_state.h"
#include "state_fixture.h"

namespace kelp::test {
namespace {

using state::Existing;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// The same number as in file_trust_test: this machine has no such account.
constexpr uid_t kOtherUser = 54321;

class Restore : public StateTest {
  protected:
    void backUp() { state::backUp(state::configuredLayout(), archive(), Existing::IsReplaced); }
    state::RestoreResult restore(bool keep = false) {
        return state::restoreState(state::configuredLayout(), {archive(), {}, keep});
    }
};

TEST_F(Restore, FillsAnEmptyState) {
    makeState("one");
    backUp();
    removeState();
    restore();
    EXPECT_EQ(textInState(), "one");
    EXPECT_EQ(contentOf(inState("audit.key")), "one");
    EXPECT_EQ(contentOf(inState("snmp-engine")), "one");
    EXPECT_EQ(contentOf(inState("changes-lists") / "alarms-17.list"), "one");
    EXPECT_EQ(contentOf(inState("oplog.db.rest-2025-03-01T12:00:00.000Z-4711")), "one");
}

TEST_F(Restore, MakesAMissingStateDirectory) {
    makeState("one");
    backUp();
    std::filesystem::remove_all(state_);
    restore();
    EXPECT_EQ(textInState(), "one");
}

TEST_F(Restore, ReplacesTheWholeState) {
    makeState("one");
    std::filesystem::remove(inState("snmp-engine"));
    backUp();
    makeState("two");
    writeSecret(inState("changes-lists") / "alarms-18.list", "two");
    writeSecret(inState("oplog-audit.db.rest-2026-03-01T12:00:00.000Z-1"), "two");
    writeSecret(inState("unrelated"), "two");
    EXPECT_THAT(restore().previous, IsEmpty());
    EXPECT_EQ(textInState(), "one");
    EXPECT_FALSE(std::filesystem::exists(inState("snmp-engine")));
    EXPECT_FALSE(std::filesystem::exists(inState("changes-lists") / "alarms-18.list"));
    EXPECT_FALSE(
        std::filesystem::exists(inState("oplog-audit.db.rest-2026-03-01T12:00:00.000Z-1")));
    EXPECT_EQ(contentOf(inState("unrelated")), "two");
    EXPECT_FALSE(std::filesystem::exists(inState("restore.previous")));
    EXPECT_FALSE(std::filesystem::exists(inState("restore.new")));
}

TEST_F(Restore, PutsFilesWhereTheConfigurationSays) {
    makeState("one");
    backUp();
    removeState();
    const std::filesystem::path elsewhere = folder_ / "elsewhere";
    configure("[alarms]\nlog = \"" + (elsewhere / "alarms.db").string() +
              "\"\n[oplog]\ndatabase = \"" + (elsewhere / "requests.db").string() + "\"\n");
    restore();
    EXPECT_EQ(textInState(), "one");
    EXPECT_EQ(contentOf(elsewhere / "alarms-lists" / "alarms-17.list"), "one");
    EXPECT_EQ(contentOf(elsewhere / "requests.db.rest-2025-03-01T12:00:00.000Z-4711"), "one");
    EXPECT_EQ(contentOf(elsewhere / "audit.key"), "one");
    EXPECT_TRUE(std::filesystem::exists(elsewhere / "requests-audit.db"));
}

TEST_F(Restore, UnpacksTheConfigurationOnlyIntoANewFolder) {
    makeState("one");
    configure("[ems]\nname = \"Kelp/Old\"\n");
    backUp();
    configure("[ems]\nname = \"Kelp/New\"\n");
    const std::filesystem::path folder = folder_ / "old";
    const auto restoreTo = [&](const std::filesystem::path& target) {
        state::restoreState(state::configuredLayout(), {archive(), target, false});
    };
    EXPECT_THAT(failureOf([&] { restoreTo(state_); }), HasSubstr("exists already"));
    restoreTo(folder);
    EXPECT_THAT(contentOf(folder / "kelp.toml"), HasSubstr("Kelp/Old"));
    EXPECT_THAT(contentOf(folder_ / "kelp.toml"), HasSubstr("Kelp/New"));
}

TEST_F(Restore, KeepsThePreviousStateOnRequestAndUndoesItself) {
    makeState("one");
    backUp();
    makeState("two");
    const auto before = contentsOfState();
    EXPECT_THAT(restore(true).previous, SizeIs(1));
    EXPECT_EQ(textInState(), "one");
    EXPECT_THAT(failureOf([&] { restore(); }), HasSubstr("restore --undo"));
    state::undoRestore(state::configuredLayout());
    EXPECT_EQ(contentsOfState(), before);
    EXPECT_THAT(failureOf([] { state::undoRestore(state::configuredLayout()); }),
                HasSubstr("no files from before a restore"));
}

// A process that is killed leaves the files and the mark of its last step.
TEST_F(Restore, IsUndoneAfterAnInterruption) {
    makeState("two");
    const auto before = contentsOfState();
    const auto move = [&](const std::string& name) {
        std::filesystem::create_directories(inState("restore.previous"));
        std::filesystem::rename(inState(name), inState("restore.previous") / name);
    };
    const auto expectUndone = [&] {
        EXPECT_THAT(failureOf([&] { restore(); }), HasSubstr("was interrupted"));
        state::undoRestore(state::configuredLayout());
        EXPECT_EQ(contentsOfState(), before);
    };
    // while the previous files are being moved away, or back
    writeSecret(inState(admin::kRestoreMovesAway), "");
    move("users.db");
    move("audit.key");
    expectUndone();
    // before the first one
    writeSecret(inState(admin::kRestoreMovesAway), "");
    expectUndone();
    // while the new files take their places
    writeSecret(inState(admin::kRestoreMovesIn), "");
    for (const char* const each :
         {"users.db", "inventory.db", "changes.db", "sessions.db", "oplog.db",
          "oplog-before-login.db", "oplog-audit.db", "audit.key", "snmp-engine", "changes-lists",
          "oplog.db.rest-2025-03-01T12:00:00.000Z-4711"})
        move(each);
    writeSecret(inState("users.db"), "half of the new state");
    expectUndone();
}

TEST_F(Restore, RemovesThePreviousFilesOfACompleteOne) {
    makeState("one");
    backUp();
    std::filesystem::create_directories(inState("restore.previous"));
    writeSecret(inState("restore.previous") / "users.db", "half deleted");
    restore();
    EXPECT_FALSE(std::filesystem::exists(inState("restore.previous")));
    EXPECT_EQ(textInState(), "one");
}

TEST_F(Restore, RefusesWhileAHostRuns) {
    makeState("one");
    backUp();
    const auto before = contentsOfState();
    const admin::StateClaim host(state_);
    EXPECT_THAT(failureOf([&] { restore(); }), HasSubstr("stop the host first"));
    EXPECT_THAT(failureOf([] { state::undoRestore(state::configuredLayout()); }),
                HasSubstr("stop the host first"));
    EXPECT_EQ(contentsOfState(), before);
}

TEST_F(Restore, RefusesWhileAProcessHasADatabaseOpen) {
    makeState("one");
    backUp();
    std::array<int, 2> opened{};
    std::array<int, 2> over{};
    ASSERT_EQ(::pipe(opened.data()), 0);
    ASSERT_EQ(::pipe(over.data()), 0);
    const pid_t other = ::fork();
    if (other == 0) {
        char octet = 0;
        ::close(over[1]);
        SQLite::Database database(inState("oplog.db").string(), SQLite::OPEN_READWRITE);
        octet = database.execAndGet("SELECT count(*) FROM note").getInt() == 1 ? 'y' : 'n';
        const bool isDone = ::write(opened[1], &octet, 1) == 1 && ::read(over[0], &octet, 1) == 0;
        ::_exit(isDone ? 0 : 1);
    }
    char octet = 0;
    EXPECT_EQ(::read(opened[0], &octet, 1), 1);
    EXPECT_EQ(octet, 'y');
    EXPECT_EQ(state::processUsing(inState("oplog.db")), other);
    EXPECT_THAT(failureOf([&] { restore(); }),
                HasSubstr("process " + std::to_string(other) + " has "));
    ::close(over[1]);
    int status = -1;
    EXPECT_EQ(::waitpid(other, &status, 0), other);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(failureOf([&] { restore(); }), "");
    for (const int each : {opened[0], opened[1], over[0]})
        ::close(each);
}

TEST_F(Restore, RefusesLinksInPlaceOfFiles) {
    makeState("one");
    backUp();
    const std::filesystem::path aside = folder_ / "aside";
    std::filesystem::rename(inState("users.db"), aside);
    std::filesystem::create_symlink(aside, inState("users.db"));
    EXPECT_THAT(failureOf([&] { restore(); }), HasSubstr("is a symbolic link"));
}

// Root restores for the account of the service. Without root the files belong to the test's user.
TEST_F(Restore, GivesFilesToTheOwnerOfTheFolderAlone) {
    makeState("one");
    backUp();
    removeState();
    const uid_t owner = ::geteuid() == 0 ? kOtherUser : ::geteuid();
    ASSERT_EQ(::chown(state_.c_str(), owner, static_cast<gid_t>(-1)), 0);
    const mode_t before = ::umask(0);
    restore();
    ::umask(before);
    for (const auto& each : std::filesystem::recursive_directory_iterator(state_)) {
        struct stat status {};
        ASSERT_EQ(::lstat(each.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, owner) << each.path();
        EXPECT_EQ(status.st_mode & 07777u, each.is_directory() ? 0700u : 0600u) << each.path();
    }
    EXPECT_EQ(textInState(), "one");
}

}  // namespace
}  // namespace kelp::test
