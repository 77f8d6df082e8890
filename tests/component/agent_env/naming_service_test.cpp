// Rounds while the naming service is out of order, and the ways to give its address.

#include <kelp/orb/orb.h>

#include <future>

#include "naming_fixture.h"
#include "support/tcp_peers.h"
#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

class NamingServiceOutage : public MonitorFixture {};

TEST_F(NamingServiceOutage, WithAnEmptyRestartEndsWithTheEntryWithinTwoRounds) {
    registerOwn();
    names_.restartEmpty();
    round(2);
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
    round();
    EXPECT_TRUE(monitor_->IsRegistered());
}

TEST_F(NamingServiceOutage, IsTracedAndClearsTheRegistration) {
    registerOwn();
    names_.kill();
    round(2);
    EXPECT_FALSE(monitor_->IsRegistered());
    EXPECT_EQ(trace_.count(kSystemException), 2u);
}

TEST_F(NamingServiceOutage, OfLongDurationEndsWithTheEntryWithinOneRound) {
    registerOwn();
    names_.kill();
    round(3);
    names_.restartEmpty();
    round();
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
}

TEST_F(NamingServiceOutage, ByFreezingEndsWithTheRegistrationWithinTwoRounds) {
    registerOwn();
    names_.freeze();
    round(2);
    EXPECT_FALSE(monitor_->IsRegistered());
    EXPECT_EQ(trace_.count(std::string(kSystemException) + "TIMEOUT"), 2u);
    names_.thaw();
    round(2);
    EXPECT_TRUE(monitor_->IsRegistered());
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
}

TEST_F(NamingServiceOutage, ByFreezingAndAnEmptyRestartEndsWithTheEntryWithinTwoRounds) {
    registerOwn();
    names_.freeze();
    round();
    names_.restartEmpty();
    round(2);
    EXPECT_TRUE(entry_.leadsTo(own_.in()));
}

TEST_F(NamingServiceOutage, EndsWhenTheConfigurationNamesAnotherAddress) {
    registerOwn();
    base().UpdateNamingServiceParams();
    const OmniNames elsewhere;
    names_.kill();
    round();
    configure(withNamingPort(elsewhere.port()));
    round();
    EXPECT_TRUE(FactoryEntry(elsewhere.corbaloc()).leadsTo(own_.in()));
}

class NamingServiceAddress : public MonitorFixture {
  protected:
    /// Configure another naming service's address, and further options in `more`.
    static void locate(const std::string& naming, const std::string& more = "") {
        configure(kFreePort + std::string("[naming]\nembedded = false\n") + naming + "\n" + more);
    }
};

TEST_F(NamingServiceAddress, OfSomethingElseGivesNoRootContextAndNoRegistration) {
    const PortableServer::ServantBase_var notNaming(new OtherFactory);
    const LiveObject object = activate(notNaming.in());
    const CORBA::ORB_var itsOrb = base().GetOrb();
    kelp::orb::publishKey(itsOrb.in(), "NameService", notNaming.in(), object.reference.in());
    kelp::orb::ReferenceContent content;
    ASSERT_TRUE(kelp::orb::describe(itsOrb.in(), own_.in(), content));
    locate("host = \"127.1\"\nport = " + std::to_string(content.endpoints.front().port));
    round();
    EXPECT_EQ(trace_.count("[Monitor Thread] Root Context is nil!"), 1u);
    EXPECT_FALSE(trace_.contains(kSystemException));
    EXPECT_FALSE(monitor_->IsRegistered());
    kelp::orb::withdrawKey(itsOrb.in(), "NameService");
}

TEST(NamingServiceAddressText, BeginsWithIiopWithoutTls) {
    EXPECT_EQ(NS_KELPCORBA::NamingMonitor::AddressOf("names.example", 4801, false),
              "corbaloc:iiop:names.example:4801/NameService");
}

TEST(NamingServiceAddressText, BeginsWithSsliopWithTls) {
    EXPECT_EQ(NS_KELPCORBA::NamingMonitor::AddressOf("names.example", 4803, true),
              "corbaloc:ssliop:names.example:4803/NameService");
}

TEST(NamingServiceAddressText, PutsAnIpv6HostInBrackets) {
    EXPECT_EQ(NS_KELPCORBA::NamingMonitor::AddressOf("::1", 4801, false),
              "corbaloc:iiop:[::1]:4801/NameService");
    EXPECT_EQ(NS_KELPCORBA::NamingMonitor::AddressOf("[::1]", 4801, false),
              "corbaloc:iiop:[::1]:4801/NameService");
}

/// Accepts one connection and returns the first byte of its first message.
class FirstByte {
  public:
    FirstByte() : listener_(boundSocket()) {
        if (::listen(listener_.fd(), 8) != 0)
            throw std::runtime_error("cannot listen");
        first_ = std::async(std::launch::async, [this] {
            const Socket connection(::accept(listener_.fd(), nullptr, nullptr));
            char byte = 0;
            return ::recv(connection.fd(), &byte, 1, 0) == 1 ? byte : '\0';
        });
    }
    ~FirstByte() { ::shutdown(listener_.fd(), SHUT_RDWR); }
    std::uint16_t port() const { return portOf(listener_); }
    char get() {
        return first_.wait_for(std::chrono::seconds(10)) == std::future_status::ready ? first_.get()
                                                                                      : '\0';
    }

  private:
    Socket listener_;
    std::future<char> first_;
};

TEST_F(NamingServiceAddress, WithoutTlsIsCalledInPlainGiop) {
    FirstByte service;
    locate("port = " + std::to_string(service.port()));
    round();
    EXPECT_EQ(service.get(), 'G');
}

/// The modes 1 (TLS in addition to TCP) and 2 (TLS only).
class NamingServiceOverTls : public NamingServiceAddress,
                             public testing::WithParamInterface<int> {};

TEST_P(NamingServiceOverTls, IsNeverCalledInPlain) {
    const TemporaryDirectory folder;
    const std::string pem = folder.write("key.pem", "").string();
    locate("port = " + std::to_string(names_.port()) + "\nssl_port = " + std::to_string(freePort()),
           "[tls]\nmode = " + std::to_string(GetParam()) + "\nca = \"" + pem +
               "\"\ncertificate = \"" + pem + "\"\n");
    ASSERT_EQ(base().GetSSLMode(), GetParam());
    round();
    EXPECT_EQ(trace_.count(kSystemException), 1u);
    EXPECT_FALSE(entry_.isBound());
}

INSTANTIATE_TEST_SUITE_P(Modes, NamingServiceOverTls, testing::Values(1, 2),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace kelp::test
