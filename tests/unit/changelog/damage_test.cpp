#include <SQLiteCpp/SQLiteCpp.h>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::HasSubstr;

class DamagedChangeLog : public ChangeLogTest {
  protected:
    void SetUp() override {
        const auto log = open();
        first_ = appendOne(*log, "first", "key").position;
        appendOne(*log, "second");
        appendOne(*log, "third");
    }
    void execute(const std::string& sql) {
        SQLite::Database(file().string(), SQLite::OPEN_READWRITE).exec(sql);
    }
    /// Expect that reading fails at `position`, and that the records below can be read.
    void expectDamage(Position position) {
        const auto log = open();
        try {
            log->read(0, kNoLimit, kNoLimit);
            FAIL() << "damage not found";
        } catch (const LogFailure& failure) {
            EXPECT_TRUE(failure.isDamaged());
            EXPECT_THAT(failure.what(), HasSubstr(file().string()));
            EXPECT_THAT(failure.what(), HasSubstr(std::to_string(position)));
        }
        EXPECT_EQ(log->read(0, position - first_, kNoLimit).size(), position - first_);
    }

    Position first_ = 0;
};

TEST_F(DamagedChangeLog, ChangedContentIsFound) {
    execute("UPDATE record SET content = x'00' WHERE position = " + std::to_string(first_ + 1));
    expectDamage(first_ + 1);
}

TEST_F(DamagedChangeLog, ChangedKeyIsFound) {
    execute("UPDATE record SET key = x'00' WHERE position = " + std::to_string(first_));
    expectDamage(first_);
}

TEST_F(DamagedChangeLog, ExchangedRecordIsFound) {
    execute("UPDATE record SET content = (SELECT content FROM record WHERE position = " +
            std::to_string(first_ + 2) +
            "), checksum = (SELECT checksum FROM record "
            "WHERE position = " +
            std::to_string(first_ + 2) + ") WHERE position = " + std::to_string(first_ + 1));
    expectDamage(first_ + 1);
}

TEST_F(DamagedChangeLog, MissingRecordIsFound) {
    execute("DELETE FROM record WHERE position = " + std::to_string(first_ + 1));
    expectDamage(first_ + 1);
}

TEST_F(DamagedChangeLog, MissingFirstRecordIsFound) {
    execute("DELETE FROM record WHERE position = " + std::to_string(first_));
    expectDamage(first_);
}

TEST_F(DamagedChangeLog, MissingLastRecordIsFound) {
    execute("DELETE FROM record WHERE position = " + std::to_string(first_ + 2));
    expectDamage(first_ + 2);
}

TEST_F(DamagedChangeLog, DamagedFileIsFoundWhenItIsOpened) {
    folder_.write("changes.db", std::string(8192, 'x'));
    try {
        open();
        FAIL() << "opened";
    } catch (const LogFailure& failure) {
        EXPECT_TRUE(failure.isDamaged());
        EXPECT_THAT(failure.what(), HasSubstr(file().string()));
    }
}

TEST_F(DamagedChangeLog, AnotherProgramsDatabaseStaysAsItIs) {
    const auto other = folder_ / "other.db";
    SQLite::Database(other.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
        .exec("CREATE TABLE t (x)");
    std::filesystem::permissions(other, std::filesystem::perms(0600));
    const std::string before = contentOf(other);
    EXPECT_THROW(changelog::openSqliteLog({.file = other}), LogFailure);
    EXPECT_EQ(contentOf(other), before);
}

TEST_F(DamagedChangeLog, LaterVersionIsRefused) {
    execute("PRAGMA user_version = 2");
    EXPECT_THROW(open(), LogFailure);
}

}  // namespace
}  // namespace kelp::test
