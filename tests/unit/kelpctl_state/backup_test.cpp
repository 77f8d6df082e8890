#include "state/backup.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "state/archive_reader.h"
#include "state/restore.h"
#include "state_fixture.h"

namespace kelp::test {
namespace {

using state::Existing;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;

class Backup : public StateTest {
  protected:
    state::Manifest run(Existing existing = Existing::IsRefused) {
        return state::backUp(state::configuredLayout(), archive(), existing);
    }
    static std::vector<std::string> namesIn(const state::Manifest& manifest) {
        std::vector<std::string> names;
        for (const state::ManifestFile& each : manifest.files)
            names.push_back(each.name);
        return names;
    }
    std::vector<std::string> namesInFolder() const {
        std::vector<std::string> names;
        for (const auto& each : std::filesystem::directory_iterator(folder_.path()))
            names.push_back(each.path().filename());
        return names;
    }
};

TEST_F(Backup, ContainsTheWholeState) {
    makeState("one");
    EXPECT_THAT(
        namesIn(run()),
        IsSupersetOf({"state/users.db", "state/inventory.db", "state/changes.db",
                      "state/changes-lists/alarms-17.list", "state/sessions.db", "state/oplog.db",
                      "state/oplog-before-login.db", "state/oplog-audit.db", "state/audit.key",
                      "state/snmp-engine", "state/oplog.db.rest-2025-03-01T12:00:00.000Z-4711"}));
}

TEST_F(Backup, ContainsTheConfigurationWithTheFilesThatItNames) {
    makeState("one");
    const std::filesystem::path users = folder_ / "snmp-users";
    const std::filesystem::path mapping = folder_ / "mapping.toml";
    writeSecret(users, "nobody SHA-256 abcdefgh\n");
    writeSecret(mapping, "");
    std::filesystem::create_symlink(mapping, folder_ / "link.toml");
    configure("[snmp]\nusers_file = \"" + users.string() + "\"\nmappings = [\"" + mapping.string() +
              "\", \"" + (folder_ / "link.toml").string() + "\"]\n");
    const state::Manifest manifest = run();
    EXPECT_THAT(namesIn(manifest),
                IsSupersetOf({"configuration/kelp.toml", "configuration/snmp.users_file",
                              "configuration/snmp.mappings.0"}));
    EXPECT_THAT(namesIn(manifest), Not(Contains("configuration/snmp.mappings.1")));
    EXPECT_THAT(manifest.leftOut, Contains(HasSubstr("link.toml")));
}

TEST_F(Backup, IsReadableToItsOwnerAlone) {
    makeState("one");
    const mode_t before = ::umask(0);
    run();
    ::umask(before);
    struct stat status {};
    ASSERT_EQ(::stat(archive().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0600u);
}

TEST_F(Backup, ReplacesAFileOnlyOnRequest) {
    makeState("one");
    writeSecret(archive(), "precious");
    EXPECT_THAT(failureOf([&] { run(); }), HasSubstr("exists already"));
    EXPECT_EQ(contentOf(archive()), "precious");
    run(Existing::IsReplaced);
    EXPECT_NE(contentOf(archive()), "precious");
}

TEST_F(Backup, DoesNotFollowLinks) {
    makeState("one");
    const std::filesystem::path target = folder_ / "target";
    writeSecret(target, "precious");
    std::filesystem::create_symlink(target, archive());
    EXPECT_THAT(failureOf([&] { run(Existing::IsReplaced); }), HasSubstr("not a regular file"));
    EXPECT_EQ(contentOf(target), "precious");
    std::filesystem::remove(archive());
    for (const char* const name : {"users.db", "audit.key"}) {
        const std::filesystem::path aside = folder_ / "aside";
        std::filesystem::rename(inState(name), aside);
        std::filesystem::create_symlink(aside, inState(name));
        EXPECT_THAT(failureOf([&] { run(); }), HasSubstr("symbolic link"));
        std::filesystem::remove(inState(name));
        std::filesystem::rename(aside, inState(name));
    }
    EXPECT_FALSE(std::filesystem::exists(archive()));
}

TEST_F(Backup, LeavesNothingBehindWhenItFails) {
    makeState("one");
    const auto before = namesInFolder();
    writeSecret(inState("sessions.db"), std::string(5000, 'x'));
    EXPECT_THAT(failureOf([&] { run(); }), HasSubstr("sessions.db cannot be copied"));
    EXPECT_EQ(namesInFolder(), before);
    removeState();
    EXPECT_THAT(failureOf([&] { run(); }), HasSubstr("there is no state"));
    EXPECT_EQ(namesInFolder(), before);
}

TEST_F(Backup, RemovesWhatAKilledOneHasLeft) {
    makeState("one");
    const std::filesystem::path left = folder_ / ".backup.tar.zst.part";
    std::filesystem::create_directory(left);
    writeSecret(left / "file-state+users.db", "half");
    writeSecret(left / "claim", "");
    run();
    EXPECT_FALSE(std::filesystem::exists(left));
}

TEST_F(Backup, OnlyOneWritesAnArchiveAtATime) {
    makeState("one");
    const state::ArchiveFile other(archive(), Existing::IsRefused);
    EXPECT_THAT(failureOf([&] { run(); }), HasSubstr("another process is writing it"));
}

TEST_F(Backup, CopiesADatabaseAsItWasAtOneMoment) {
    makeState("one");
    const std::filesystem::path file = inState("oplog.db");
    SQLite::Database writer(file.string(), SQLite::OPEN_READWRITE);
    writer.exec("CREATE TABLE pair (one INTEGER, other INTEGER)");
    writer.exec("INSERT INTO pair VALUES (0, 0)");
    writer.exec("CREATE TABLE ballast (octets BLOB)");
    std::atomic<bool> isOver{false};
    std::atomic<int> changes{0};
    std::thread writing([&] {
        while (!isOver) {
            SQLite::Transaction transaction(writer);
            writer.exec("UPDATE pair SET one = one + 1");
            writer.exec("INSERT INTO ballast VALUES (randomblob(5000))");
            writer.exec("UPDATE pair SET other = other + 1");
            transaction.commit();
            ++changes;
        }
    });
    int last = -1;
    for (int i = 0; i < 5; ++i) {
        // the state goes on changing between two backups
        while (changes <= last + 1)
            std::this_thread::yield();
        run(Existing::IsReplaced);
        state::ArchiveReader reader(archive());
        while (const auto entry = reader.next()) {
            if (entry->name != "state/oplog.db")
                continue;
            std::string content;
            reader.read([&content](std::string_view octets) { content += octets; });
            writeSecret(folder_ / "copy.db", content);
        }
        SQLite::Database copy((folder_ / "copy.db").string(), SQLite::OPEN_READWRITE);
        const int one = copy.execAndGet("SELECT one FROM pair").getInt();
        EXPECT_EQ(one, copy.execAndGet("SELECT other FROM pair").getInt());
        EXPECT_EQ(one, copy.execAndGet("SELECT count(*) FROM ballast").getInt());
        EXPECT_EQ(copy.execAndGet("PRAGMA integrity_check").getString(), "ok");
        EXPECT_GT(one, last);
        last = one;
    }
    isOver = true;
    writing.join();
}

}  // namespace
}  // namespace kelp::test
