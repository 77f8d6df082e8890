// The security log's hash chain with a key: which changes it detects that a chain without a key
// does not.

#include <sys/stat.h>

#include "log_fixture.h"
#include "support/child.h"

namespace kelp::test {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class AuditKey : public LogTest {
  protected:
    std::filesystem::path keyFile() const { return folder_ / "audit.key"; }
    LogSettings keyed() const {
        LogSettings all = settings();
        all.auditKeyFile = keyFile();
        return all;
    }
    /// Return the settings with which somebody without the key writes the same log.
    LogSettings unkeyed(const std::string& name = "oplog.db") const {
        LogSettings all = settings();
        all.database = folder_ / name;
        return all;
    }
    static void write(const LogSettings& settings, int records, const std::string& user = "user") {
        SecurityLog log(settings);
        for (int i = 1; i <= records; ++i)
            log.write(login(user + std::to_string(i)));
    }
    void tamper(const std::string& statement) const { OtherConnection(database()).exec(statement); }
    /// Replace this log with the log in another file.
    void exchangeFor(const std::string& name) const {
        for (const char* const part : {"-wal", "-shm"})
            std::filesystem::remove(database().string() + part);
        std::filesystem::rename(folder_ / name, database());
    }
    std::vector<std::string> problems(const std::vector<ChainHead>& known = {}) const {
        return verify(database(), known, keyFile()).problems;
    }
    std::vector<std::string> events() const {
        return operationsOf(read(database(), LogKind::Security));
    }
};

TEST_F(AuditKey, IsCreatedWithTheFirstRecordForItsOwnerOnly) {
    write(keyed(), 3);
    EXPECT_EQ(modeOf(keyFile().c_str()), 0600u);
    EXPECT_THAT(problems(), IsEmpty());
    EXPECT_THAT(events(), ElementsAre("key", "login", "login", "login"));
    // the log does not contain the key
    const std::string key = contentOf(keyFile()).substr(17, 64);
    EXPECT_THAT(key, testing::MatchesRegex("[0-9a-f]{64}"));
    EXPECT_EQ(contentOf(database()).find(key), std::string::npos);
}

TEST_F(AuditKey, StaysTheSameAcrossStartsAndProcesses) {
    SecurityLog log(keyed());
    log.write(login("running"));
    ASSERT_TRUE(log.flush(kPatience));
    appendSecurityRecord(keyed(), login("other"));
    log.write(login("later"));
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_THAT(problems(), IsEmpty());
    log.stop();
    write(keyed(), 1);
    EXPECT_THAT(problems(), IsEmpty());
    EXPECT_THAT(events(), ElementsAre("key", "login", "login", "login", "login"));
}

TEST_F(AuditKey, IsSharedByProcessesThatStartTogether) {
    constexpr int kProcesses = 8;
    EXPECT_TRUE(inChild([this] {
        bool isGood = true;
        std::vector<pid_t> others;
        for (int i = 0; i < kProcesses; ++i) {
            const pid_t other = ::fork();
            if (other == 0) {
                appendSecurityRecord(keyed(), login("user"));
                ::_exit(0);
            }
            others.push_back(other);
        }
        for (const pid_t other : others) {
            int status = -1;
            isGood = ::waitpid(other, &status, 0) == other && status == 0 && isGood;
        }
        return isGood;
    }));
    EXPECT_THAT(problems(), IsEmpty());
    EXPECT_THAT(events(), SizeIs(kProcesses + 1));
}

TEST_F(AuditKey, DetectsAChainRecreatedWithoutIt) {
    write(keyed(), 5);
    write(unkeyed("forged.db"), 5, "innocent");
    exchangeFor("forged.db");
    // without the key, the forged chain is valid
    EXPECT_THAT(verify(database()).problems, IsEmpty());
    EXPECT_THAT(problems(), SizeIs(5));
    EXPECT_THAT(problems(), Each(HasSubstr(" was not made with the key")));
}

TEST_F(AuditKey, DetectsAForgedTail) {
    write(keyed(), 3);
    const ChainHead head = verify(database(), {}, keyFile()).head;
    // somebody without the key can continue the chain only with the other hash
    tamper(
        "INSERT INTO record SELECT 5, time_ms, 'innocent', nms, peer, operation, object_kind, "
        "object, "
        "outcome, "
        "detail, duration_us, missing, until_ms, hash FROM record WHERE id = 4;"
        "UPDATE head SET id = 5");
    EXPECT_THAT(problems(), ElementsAre("record 5 is not what was written there"));
    EXPECT_THAT(problems({head}), SizeIs(1));
}

TEST_F(AuditKey, DetectsARecordAppendedWithoutIt) {
    write(keyed(), 3);
    {
        // The log itself refuses to continue without the key, so the mark of the key is hidden from
        // it.
        tamper("UPDATE record SET operation = 'login' WHERE id = 1");
        write(unkeyed(), 1, "innocent");
        tamper("UPDATE record SET operation = 'key' WHERE id = 1");
    }
    EXPECT_THAT(problems(), ElementsAre("record 5 was not made with the key"));
}

TEST_F(AuditKey, DetectsAForgedChainEvenAfterLaterRecords) {
    write(keyed(), 5);
    write(unkeyed("forged.db"), 5, "innocent");
    exchangeFor("forged.db");
    write(keyed(), 1);
    EXPECT_THAT(events(), ElementsAre("login", "login", "login", "login", "login", "tampering",
                                      "key", "login"));
    EXPECT_TRUE(trace_.contains("its records were not made with the key"));
    EXPECT_THAT(problems(), SizeIs(5));
}

TEST_F(AuditKey, AShortenedChainIsFoundByAKnownHead) {
    write(keyed(), 5);
    const ChainHead known = verify(database(), {}, keyFile()).head;
    tamper(
        "DELETE FROM record WHERE id >= 4; UPDATE head SET id = 3, hash = (SELECT hash FROM record "
        "WHERE id "
        "= 3)");
    // neither the log nor the key can detect this
    EXPECT_THAT(problems(), IsEmpty());
    EXPECT_THAT(problems({known}), ElementsAre(HasSubstr("is not in the chain")));
}

TEST_F(AuditKey, AnOlderLogUsesItFromAMarkedRecordOn) {
    write(unkeyed(), 4);
    const ChainHead old = verify(database()).head;
    write(keyed(), 2);
    EXPECT_THAT(events(), ElementsAre("login", "login", "login", "login", "key", "login", "login"));
    EXPECT_THAT(problems(), IsEmpty());
    EXPECT_THAT(problems({old}), IsEmpty());
    EXPECT_THAT(contentOf(keyFile()), HasSubstr(old.text()));
}

TEST_F(AuditKey, ProtectsTheOlderPartOfALogToo) {
    write(unkeyed(), 4);
    write(keyed(), 2);
    tamper("UPDATE record SET user = 'innocent' WHERE id = 2");
    EXPECT_THAT(problems(), ElementsAre("record 2 is not what was written there"));
}

TEST_F(AuditKey, DetectsARecreatedOlderPart) {
    write(unkeyed(), 4);
    write(keyed(), 2);
    write(unkeyed("forged.db"), 4, "innocent");
    OtherConnection here(database());
    here.exec("ATTACH '" + (folder_ / "forged.db").string() + "' AS forged");
    here.exec("DELETE FROM record WHERE id <= 4");
    here.exec("INSERT INTO record SELECT * FROM forged.record");
    EXPECT_THAT(problems(), Contains(HasSubstr("record 1 was not made with the key")));
    EXPECT_THAT(problems(), Contains(HasSubstr("record 5 is not what was written there")));
}

TEST_F(AuditKey, RemovedRecordsOfTheOlderPartAreGoneByRetention) {
    SecurityRecord past = login("past");
    past.time = now() - std::chrono::days(9);
    {
        SecurityLog log(unkeyed());
        for (int i = 0; i < 4; ++i)
            log.write(past);
    }
    SecurityLog log(keyed());
    log.write(login("new"));
    ASSERT_TRUE(log.flush(kPatience));
    log.setRetention({std::chrono::days(5), 1u << 30});
    ASSERT_TRUE(waitUntil([&] {
        return events() == std::vector<std::string>{"key", "login", "retention"};
    }));
    EXPECT_THAT(problems(), IsEmpty());
}

TEST_F(AuditKey, IsMarkedAgainWhenRetentionTakesTheMark) {
    {
        SecurityLog log(keyed());
        log.write(login("old"));
    }
    tamper("UPDATE record SET time_ms = 1000");
    SecurityLog log(keyed());
    log.write(login("new"));
    ASSERT_TRUE(log.flush(kPatience));
    log.setRetention({std::chrono::days(5), 1u << 30});
    ASSERT_TRUE(waitUntil([&] {
        return events() == std::vector<std::string>{"login", "retention", "key"};
    }));
    EXPECT_THAT(problems(), IsEmpty());
    log.stop();
    std::filesystem::remove(keyFile());
    EXPECT_THAT(problemOfAuditKey(keyed()), HasSubstr("is missing"));
}

TEST_F(AuditKey, ALostKeyIsAnErrorAndIsNotRecreated) {
    write(keyed(), 2);
    std::filesystem::remove(keyFile());
    const std::string error =
        "was made with a key, but the file " + keyFile().string() + " is missing";
    EXPECT_THAT(problemOfAuditKey(keyed()), HasSubstr(error));
    EXPECT_THAT([this] { problems(); },
                testing::ThrowsMessage<std::runtime_error>(HasSubstr(error)));
    EXPECT_THAT([this] { appendSecurityRecord(keyed(), login("late")); },
                testing::ThrowsMessage<std::runtime_error>(HasSubstr(error)));
    EXPECT_THAT([this] { appendSecurityRecord(unkeyed(), login("late")); },
                testing::ThrowsMessage<std::runtime_error>(HasSubstr("no key file is given")));
    EXPECT_THAT([this] { verify(database()); },
                testing::ThrowsMessage<std::runtime_error>(HasSubstr("no key file is given")));
    EXPECT_FALSE(std::filesystem::exists(keyFile()));
}

TEST_F(AuditKey, OfAnotherLogIsAnError) {
    write(keyed(), 2);
    std::filesystem::remove(keyFile());
    LogSettings other = keyed();
    other.database = folder_ / "other.db";
    write(other, 1);
    EXPECT_THAT(problemOfAuditKey(keyed()), HasSubstr("was made with another key than that in"));
    EXPECT_THAT([this] { appendSecurityRecord(keyed(), login("late")); },
                testing::ThrowsMessage<std::runtime_error>(HasSubstr("was made with another key")));
    EXPECT_THAT(problems(), Contains("the log was made with another key"));
}

TEST_F(AuditKey, ARunningLogKeepsItWhateverBecomesOfTheFile) {
    SecurityLog log(keyed());
    log.write(login("before"));
    ASSERT_TRUE(log.flush(kPatience));
    std::filesystem::rename(keyFile(), folder_ / "elsewhere");
    log.write(login("after"));
    ASSERT_TRUE(log.flush(kPatience));
    EXPECT_THAT(verify(database(), {}, folder_ / "elsewhere").problems, IsEmpty());
}

TEST_F(AuditKey, ThatOthersCanReadOrExchangeIsRefused) {
    write(keyed(), 1);
    for (const mode_t mode : {0640u, 0604u, 0620u}) {
        ASSERT_EQ(::chmod(keyFile().c_str(), mode), 0);
        EXPECT_THAT(problemOfAuditKey(keyed()), HasSubstr(keyFile().string() + " can be "));
        EXPECT_THROW(appendSecurityRecord(keyed(), login("late")), std::runtime_error);
        EXPECT_THROW(problems(), std::runtime_error);
    }
    ASSERT_EQ(::chmod(keyFile().c_str(), 0600), 0);
    EXPECT_EQ(problemOfAuditKey(keyed()), "");
    std::filesystem::rename(keyFile(), folder_ / "real");
    std::filesystem::create_symlink(folder_ / "real", keyFile());
    EXPECT_THAT(problemOfAuditKey(keyed()), HasSubstr("is a symbolic link"));
}

TEST_F(AuditKey, OfAnotherFormIsRefused) {
    for (const std::string& text :
         {std::string(), std::string("kelp-audit-key 1\n"), std::string(200, 'a'),
          "kelp-audit-key 1\n" + std::string(63, 'a') + "\n",
          "kelp-audit-key 1\n" + std::string(64, 'x') + "\n",
          "kelp-audit-key 1\n" + std::string(64, 'a') + "\n17:short\n"}) {
        folder_.write("audit.key", text);
        ASSERT_EQ(::chmod(keyFile().c_str(), 0600), 0);
        EXPECT_THAT(problemOfAuditKey(keyed()), HasSubstr("holds no key")) << text;
    }
    folder_.write("audit.key", std::string(100000, 'a'));
    EXPECT_THAT(problemOfAuditKey(keyed()), HasSubstr("is longer than"));
}

class LogFilesUnderUmask : public AuditKey, public testing::WithParamInterface<mode_t> {};

TEST_P(LogFilesUnderUmask, AreAccessibleToTheirOwnerOnly) {
    LogSettings below = keyed();
    below.database = folder_ / "new" / "oplog-audit.db";
    below.auditKeyFile = folder_ / "keys" / "audit.key";
    EXPECT_TRUE(inChildWithUmask(GetParam(), [&] {
        SecurityLog log(below);
        log.write(login("user"));
        if (!log.flush(kPatience))
            return false;
        for (const char* const part : {"", "-wal", "-shm"})
            EXPECT_EQ(modeOf((below.database.string() + part).c_str()), 0600u) << part;
        return !testing::Test::HasFailure();
    }));
    EXPECT_EQ(modeOf((folder_ / "new").c_str()), 0700u);
    EXPECT_EQ(modeOf((folder_ / "keys").c_str()), 0700u);
    EXPECT_EQ(modeOf(below.auditKeyFile.c_str()), 0600u);
    EXPECT_EQ(modeOf(below.database.c_str()), 0600u);
}

INSTANTIATE_TEST_SUITE_P(Each, LogFilesUnderUmask, testing::ValuesIn(kExtremeUmasks), nameOfUmask);

TEST_F(AuditKey, ADatabaseThatOthersCanWriteIsNotWritten) {
    write(keyed(), 1);
    ASSERT_EQ(::chmod(database().c_str(), 0666), 0);
    EXPECT_THAT([this] { appendSecurityRecord(keyed(), login("late")); },
                testing::ThrowsMessage<std::runtime_error>(
                    HasSubstr("can be written by others (mode 0666)")));
    ASSERT_EQ(::chmod(database().c_str(), 0600), 0);
    std::filesystem::rename(database(), folder_ / "real.db");
    std::filesystem::create_symlink(folder_ / "real.db", database());
    EXPECT_THAT([this] { appendSecurityRecord(keyed(), login("late")); },
                testing::ThrowsMessage<std::runtime_error>(HasSubstr("is a symbolic link")));
}

}  // namespace
}  // namespace kelp::test
