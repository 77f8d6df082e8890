// The content of the records in both logs.

#include <gmock/gmock.h>
#include <kelp/nms/error.h>

#include <algorithm>

#include "system/audit/audit_fixture.h"
#include "system/audit/nms_group.h"

namespace kelp::test {
namespace {

using oplog::LogEntry;
using oplog::LogQuery;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* kWrongPassword = "wr0ng-secret-93";

class Records : public AuditTest {
  protected:
    void SetUp() override {
        AuditTest::SetUp();
        host_.set("security", "lockout_failures", 3);
        startHost();
    }

    /// Return the exception's name, or "" on success.
    std::string tryLogIn(const std::string& user, const std::string& password) {
        try {
            nms_[0].logIn(nms_.factory(), user, password);
        } catch (const globaldefs::ProcessingFailureException& refused) {
            return nms::exceptionTypeName(refused.exceptionType);
        }
        return "";
    }
    /// Return the records of an operation as soon as the log has `count` of them.
    std::vector<LogEntry> recordsOf(const std::string& operation, std::size_t count = 1) {
        LogQuery query;
        query.operation = operation;
        EXPECT_TRUE(eventually([&] { return operations(query).size() >= count; })) << operation;
        return operations(query);
    }
    std::vector<LogEntry> events(const std::string& event, std::size_t count = 1) {
        EXPECT_TRUE(eventually([&] { return security(event).size() >= count; })) << event;
        return security(event);
    }
    /// Return one line of JSON, as the operator's tool prints it, for each record of an event.
    std::string audit(const std::string& event) {
        const CommandResult result = kelpctl({"audit", "--event", event, "--json"});
        EXPECT_EQ(result.exitCode, 0) << result.output;
        return result.output;
    }
    std::vector<std::filesystem::path> filesWith(const std::string& secret) const {
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(
                 host_.scratch(""), std::filesystem::directory_options::skip_permission_denied)) {
            if (entry.is_regular_file() && !entry.is_symlink() &&
                entry.path() != host_.passwordFile() &&
                contentOf(entry.path()).find(secret) != std::string::npos)
                found.push_back(entry.path());
        }
        return found;
    }

    NmsGroup nms_{host_, 2};
};

TEST_F(Records, LogInsAndLogOutsNameUserAddressesAndOutcome) {
    EXPECT_EQ(tryLogIn(kUser, kWrongPassword), "EXCPT_ACCESS_DENIED");
    EXPECT_EQ(tryLogIn(kUser, Host::kPassword), "");
    nms_[0].session()->endSession();

    const auto at =
        AllOf(Field(&LogEntry::user, kUser), Field(&LogEntry::nmsAddress, nms_.addressOf(0)));
    const auto from = Field(&LogEntry::peer, StartsWith("127.0.0.1:"));
    const std::vector<LogEntry> logIns = events("login", 2);
    ASSERT_THAT(logIns, SizeIs(2));
    EXPECT_THAT(logIns[0], AllOf(at, from, Field(&LogEntry::outcome, "wrong password")));
    EXPECT_THAT(logIns[1], AllOf(at, from, Field(&LogEntry::outcome, "ok")));
    EXPECT_THAT(events("logout"), Contains(at));
    EXPECT_THAT(audit("login"), AllOf(HasSubstr("\"outcome\":\"wrong password\""),
                                      HasSubstr("\"nmsAddress\":\"" + nms_.addressOf(0) + "\"")));
    // the request itself is in the operation log
    const std::vector<LogEntry> requests = recordsOf("getEmsSession", 2);
    ASSERT_THAT(requests, SizeIs(2));
    EXPECT_EQ(requests[0].outcome, "EXCPT_ACCESS_DENIED");
    EXPECT_EQ(requests[1].outcome, "ok");
    EXPECT_EQ(requests[1].objectKind, "factory");
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(Records, LockOutsAndUserAdministrationAreRecordedWithoutPasswords) {
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(tryLogIn(kUser, kWrongPassword), "EXCPT_ACCESS_DENIED");
    EXPECT_EQ(tryLogIn(kWrongPassword, Host::kPassword), "EXCPT_ACCESS_DENIED")
        << "in the wrong place";
    EXPECT_THAT(events("lock-out"),
                Contains(AllOf(Field(&LogEntry::user, kUser),
                               Field(&LogEntry::peer, StartsWith("127.0.0.1")))));
    host_.user({"disable", kUser});
    EXPECT_THAT(events("user"), Contains(Field(&LogEntry::object, kUser)));
    EXPECT_THAT(audit("user"), HasSubstr("disable"));
    EXPECT_EQ(host_.stop(), 0);
    expectSoundLogs();

    EXPECT_THAT(filesWith(Host::kPassword), SizeIs(0));
    EXPECT_THAT(filesWith(kWrongPassword), SizeIs(0));
    EXPECT_THAT(filesWith("lock-out"), Not(SizeIs(0))) << "what is logged is found this way";
}

TEST_F(Records, ConfigurationChangesNameBothValuesAndRefusedFilesTheReason) {
    host_.set("security", "lockout_failures", 7);
    reconfigure();
    EXPECT_THAT(
        events("configuration", 3),
        Contains(AllOf(Field(&LogEntry::object, "security.lockout_failures"),
                       Field(&LogEntry::detail, "3 -> 7"), Field(&LogEntry::outcome, "ok"))));
    host_.set("security", "lockout_failures", 0);
    host_.reconfigure();
    EXPECT_TRUE(eventually([&] { return !security("configuration", "refused").empty(); }));
    const std::vector<LogEntry> refused = security("configuration", "refused");
    ASSERT_THAT(refused, SizeIs(1));
    EXPECT_EQ(refused[0].object, host_.configFile().string());
    EXPECT_THAT(refused[0].detail, HasSubstr("lockout_failures"));
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(Records, TwoSessionsOfOneUserAreDistinguished) {
    nms_.logIn(0, kUser);
    nms_.logIn(1, kUser);
    nms_[0].session()->ping();
    for (int i = 0; i < 2; ++i)
        nms_[1].session()->ping();
    const auto countAt = [this](const std::string& address) {
        LogQuery query;
        query.operation = "ping";
        query.address = address;
        query.user = kUser;
        return operations(query).size();
    };
    EXPECT_THAT(recordsOf("ping", 3), SizeIs(3));
    EXPECT_EQ(countAt(nms_.addressOf(0)), 1u);
    EXPECT_EQ(countAt(nms_.addressOf(1)), 2u);
    EXPECT_EQ(countAt("127.0.0.1"), 3u);
}

TEST_F(Records, RequestsNameTheirObjectAndOutcome) {
    nms_.logIn(0, kUser);
    const emsSession::EmsSession_I_ptr session = nms_[0].session();
    emsMgr::EMS_T_var ems;
    nms_.manager(0)->getEMS(ems.out());
    const CORBA::String_var version = nms_.factory()->getVersion();
    CosNotifyChannelAdmin::EventChannel_var channel;
    session->getEventChannel(channel.out());
    const CosNotifyChannelAdmin::ConsumerAdmin_var admin = channel->default_consumer_admin();
    const session::Session_I_var associated = session->associatedSession();
    EXPECT_FALSE(session->_non_existent());
    std::string refusal;
    try {
        common::Common_I_var none;
        session->getManager("Nobody", none.out());
    } catch (const globaldefs::ProcessingFailureException& refused) {
        refusal = nms::exceptionTypeName(refused.exceptionType);
    }

    const auto on = [](const std::string& kind, const std::string& object) {
        return AllOf(Field(&LogEntry::objectKind, kind), Field(&LogEntry::object, object));
    };
    const auto ofSession =
        AllOf(Field(&LogEntry::user, kUser), Field(&LogEntry::nmsAddress, nms_.addressOf(0)),
              Field(&LogEntry::peer, StartsWith("127.0.0.1:")));
    const auto withOutcome = [](const std::string& outcome) {
        return Field(&LogEntry::outcome, outcome);
    };
    EXPECT_THAT(recordsOf("getEMS"),
                Contains(AllOf(on("manager", "EMS"), ofSession, withOutcome("ok"))));
    EXPECT_THAT(recordsOf("getVersion"),
                Contains(AllOf(on("factory", ""), Field(&LogEntry::user, ""))));
    EXPECT_THAT(recordsOf("_get_default_consumer_admin"),
                Contains(Field(&LogEntry::objectKind, "channel")));
    EXPECT_THAT(recordsOf("_get_associatedSession"), Contains(AllOf(on("session", ""), ofSession)));
    EXPECT_THAT(recordsOf("_non_existent"), Contains(AllOf(on("session", ""), ofSession)));
    EXPECT_THAT(refusal, StartsWith("EXCPT_"));
    const std::vector<LogEntry> asked = recordsOf("getManager", 2);
    EXPECT_THAT(asked, Contains(AllOf(on("session", ""), ofSession, withOutcome(refusal))));
    for (const LogEntry& each : asked)
        EXPECT_TRUE(each.duration.has_value());

    // call an object that no longer exists
    session->endSession();
    EXPECT_TRUE(eventually([&] {
        try {
            session->ping();
        } catch (const CORBA::OBJECT_NOT_EXIST&) {
            return true;
        } catch (const CORBA::SystemException&) {
        }
        return false;
    }));
    // a record of a ping served before the end may come first
    EXPECT_TRUE(eventually([&] {
        const std::vector<LogEntry> pings = recordsOf("ping");
        return std::any_of(pings.begin(), pings.end(),
                           [](const LogEntry& each) { return each.outcome == "OBJECT_NOT_EXIST"; });
    }));
}

}  // namespace
}  // namespace kelp::test
