// The session factory's entry in a naming service that dies, freezes, loses its bindings or holds
// another object.

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

#include "harness/eventually.h"
#include "harness/name_server.h"
#include "harness/naming_client.h"
#include "harness/nms_process.h"
#include "naming_tools.h"
#include "unit/orb/hand_made_reference.h"

namespace kelp::test {
namespace {

class Naming : public ::testing::Test {
  protected:
    void SetUp() override { host.useNamingService(names.port()).addUser("alice"); }

    bool isBoundToTheHost() {
        try {
            return client.factoryAddress() == host.address();
        } catch (const CORBA::Exception&) {
            return false;
        }
    }
    void bind(const std::string& reference) {
        const CORBA::Object_var object = orb::toReference(testOrb(), reference);
        client.bindFactory(object.in());
    }

    NameServer names;
    Host host;
    NamingClient client{testOrb(), names.port()};
};

TEST_F(Naming, FactoryIsBoundAndRemovedAtTheStop) {
    host.start();
    EXPECT_TRUE(eventually([&] { return isBoundToTheHost(); }));
    EXPECT_EQ(host.stop(), 0);
    EXPECT_EQ(client.factoryAddress(), "");
}

TEST_F(Naming, HostIsReadyOnceTheFactoryIsBound) {
    host.start();
    ASSERT_TRUE(host.log().waitFor("kelpd is ready"));
    EXPECT_TRUE(isBoundToTheHost());
}

TEST_F(Naming, HostIsReadyOnceItHasReportedThatTheServiceDoesNotAnswer) {
    const std::uint16_t port = names.port();
    names.process().kill();
    host.useNamingService(port);
    host.start();
    ASSERT_TRUE(host.log().waitFor("kelpd is ready"));
    EXPECT_TRUE(host.log().containsInOrder(
        {"[Monitor Thread] system exception occured! error reason:", "kelpd is ready"}));
}

TEST_F(Naming, StopIsNotDelayedByTheWaitForTheFactory) {
    names.process().freeze();
    host.start();
    EXPECT_EQ(host.stop(), 0);
    names.process().thaw();
}

TEST_F(Naming, ServiceThatComesBackEmptyGetsTheFactoryAgain) {
    host.start();
    ASSERT_TRUE(eventually([&] { return isBoundToTheHost(); }));
    names.restartEmpty();
    EXPECT_TRUE(eventually([&] { return isBoundToTheHost(); }));
    EXPECT_EQ(host.stop(), 0);
}

TEST_F(Naming, ServiceThatWasFrozenKeepsTheFactory) {
    host.start();
    ASSERT_TRUE(eventually([&] { return isBoundToTheHost(); }));
    names.process().freeze();
    ASSERT_TRUE(host.log().waitFor("[Monitor Thread] system exception occured! error reason:"));
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    nms.ping(0);
    names.process().thaw();
    EXPECT_TRUE(eventually([&] { return isBoundToTheHost(); }));
}

TEST_F(Naming, RemovedEntryIsBoundAgain) {
    host.start();
    ASSERT_TRUE(eventually([&] { return isBoundToTheHost(); }));
    client.unbindFactory();
    EXPECT_TRUE(eventually([&] { return isBoundToTheHost(); }));
}

TEST_F(Naming, EntryOfADeadProcessIsReplacedAtTheStart) {
    {
        Host dead;
        dead.useNamingService(names.port());
        dead.start();
        ASSERT_TRUE(eventually([&] { return client.factoryAddress() == dead.address(); }));
        dead.process().kill();
    }
    host.start();
    EXPECT_TRUE(eventually([&] { return isBoundToTheHost(); }));
}

TEST_F(Naming, EntryOfALiveProcessWithoutThatObjectIsReplacedAtTheStart) {
    const PortLease unused;
    Host other;
    NameServer otherNames;
    other.useNamingService(otherNames.port());
    other.start();
    bind("corbaloc:iiop:1.2@" + other.address() + "/NoSuchObject");
    host.start();
    EXPECT_TRUE(eventually([&] { return isBoundToTheHost(); }));
}

TEST_F(Naming, ForeignReferenceIsReplacedAndShown) {
    host.start();
    ASSERT_TRUE(eventually([&] { return isBoundToTheHost(); }));
    bind("corbaloc:iiop:1.2@127.0.0.9:4444/%ffV4800%00EMSSessionFactory");
    EXPECT_TRUE(eventually([&] { return isBoundToTheHost(); }));
    ASSERT_TRUE(eventually([&] { return namingOf(host).value("ours", false); }));
    const nlohmann::json naming = namingOf(host);
    EXPECT_EQ(naming.value("mode", ""), "external");
    EXPECT_EQ(naming.value("replaced", 0), 1);
    EXPECT_EQ(naming.value("foreign", ""), "127.0.0.9:4444");
    EXPECT_TRUE(eventually([&] {
        return printedBy(host, {"audit", "--event", "naming"}).find("127.0.0.9:4444") !=
               std::string::npos;
    }));
}

TEST_F(Naming, OwnReferenceWithOneMoreAddressIsReplaced) {
    host.start();
    ASSERT_TRUE(eventually([&] { return isBoundToTheHost(); }));
    Iiop iiop;
    iiop.host = "127.0.0.1";
    iiop.port = host.port();
    iiop.key = std::string("\xffV4800\0EMSSessionFactory", 24);
    iiop.components = {alternateAddress("127.0.0.9", 4444)};
    bind(hexReference(
        referenceBytes({{0, iiopProfile(iiop)}},
                       "IDL:mtnm.tmforum.org/emsSessionFactory/EmsSessionFactory_I:1.0")));
    EXPECT_TRUE(eventually([&] {
        const nlohmann::json naming = namingOf(host);
        return naming.value("replaced", 0) == 1 && naming.value("ours", false);
    }));
    EXPECT_EQ(namingOf(host).value("foreign", ""), host.address() + ", 127.0.0.9:4444");
}

TEST_F(Naming, TwoLiveFactoriesThatFightOverTheNameBothKeepServing) {
    Host other;
    other.useNamingService(names.port()).addUser("bob");
    other.start();
    host.start();
    const auto timesReplacedBy = [](const Host& each) {
        return namingOf(each).value("replaced", 0);
    };
    EXPECT_TRUE(
        eventually([&] { return timesReplacedBy(host) >= 2 && timesReplacedBy(other) >= 2; }));
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    NmsProcess otherNms(other);
    otherNms.logIn(0, "bob");
    const std::string records = printedBy(host, {"audit", "--event", "naming", "--csv"});
    EXPECT_LE(std::count(records.begin(), records.end(), '\n'), 3)
        << "a header and a record a minute";
    EXPECT_EQ(other.stop(), 0);
    EXPECT_TRUE(eventually([&] { return isBoundToTheHost(); }));
    EXPECT_EQ(host.stop(), 0);
    EXPECT_EQ(client.factoryAddress(), "");
}

TEST_F(Naming, HostStartsWithoutTheServiceAndRegistersWhenItComes) {
    names.process().freeze();
    host.start();
    ASSERT_TRUE(host.log().waitFor("[Monitor Thread] system exception occured! error reason:"));
    names.process().thaw();
    EXPECT_TRUE(eventually([&] { return isBoundToTheHost(); }));
}

}  // namespace
}  // namespace kelp::test
