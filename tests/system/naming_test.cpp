// The session factory's entry in a naming service that dies, freezes, forgets or holds something else.

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/name_server.h"
#include "harness/naming_client.h"
#include "harness/nms_process.h"

#include <kelp/orb/orb.h>
#include <kelp/orb/references.h>
#include <kelp/orb/timeouts.h>

#include <gmock/gmock.h>

#include <memory>
#include <string>

namespace kelp::test {
namespace {

/// An ORB of the test's own process, for looking into the naming service.
CORBA::ORB_ptr testOrb() {
    static const CORBA::ORB_var orb = [] {
        orb::OrbOptions options;
        options.listen = {"127.0.0.1:0"};
        const CORBA::ORB_var made = orb::start(options, nullptr);
        orb::setProcessTimeout(std::chrono::seconds(2));
        return made;
    }();
    return orb.in();
}

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

TEST_F(Naming, FactoryIsBoundAndTakenOutAtTheStop) {
    host.start();
    EXPECT_TRUE(eventually([&] { return isBoundToTheHost(); }));
    EXPECT_EQ(host.stop(), 0);
    EXPECT_EQ(client.factoryAddress(), "");
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

TEST_F(Naming, EntryOfAnotherLiveFactoryIsLeftAlone) {
    Host first;
    first.useNamingService(names.port());
    first.start();
    ASSERT_TRUE(eventually([&] { return client.factoryAddress() == first.address(); }));
    host.start();
    EXPECT_TRUE(host.log().waitFor("is another emssessionfactory, left alone"));
    EXPECT_EQ(client.factoryAddress(), first.address());
    EXPECT_EQ(host.stop(), 0);
    EXPECT_EQ(client.factoryAddress(), first.address());
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
