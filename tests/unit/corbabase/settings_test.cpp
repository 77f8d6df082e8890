#include <gtest/gtest.h>
#include <kelp/corbabase/base_config.h>

#include "config_text.h"

using kelp::test::configure;
using NS_CORBA::CorbaBaseAgentConfig;

namespace {

CorbaBaseAgentConfig& settings() {
    return *CorbaBaseAgentConfig::Instance();
}

std::string factoryPath() {
    CosNaming::Name name;
    settings().ConstructEmsFactoryName(name);
    std::string text;
    for (CORBA::ULong i = 0; i < name.length(); ++i)
        text += (i > 0 ? " | " : "") + std::string(name[i].id.in()) + "." +
                std::string(name[i].kind.in());
    return text;
}

TEST(Settings, HaveTheirDefaults) {
    EXPECT_EQ(settings().GetSessionReleaseStrategy(), 0);
    EXPECT_TRUE(settings().GetEmsPingMode());
    EXPECT_EQ(settings().TimeInterval(), 60);
    EXPECT_EQ(settings().TimeOut(), 10);
    EXPECT_EQ(settings().GetSilentTime(), 1800);
    EXPECT_EQ(settings().GetMaxSession(), 100);
    EXPECT_EQ(settings().IteratorRestriction(), 200);
    EXPECT_EQ(settings().IteratorNum(), 1000);
    EXPECT_EQ(settings().IteratorBatchMax(), 5000);
    EXPECT_EQ(settings().IteratorReadAhead(), 16);
    EXPECT_EQ(settings().EmsName(), "Kelp/EMS");
    EXPECT_EQ(settings().IDLVersion(), "3.5");
    EXPECT_EQ(settings().TimeShowAppearance(), 0);
    EXPECT_EQ(settings().TimeZoneRefPoint(), 0);
    EXPECT_EQ(settings().GetSSLMode(), 0);
}

TEST(Settings, AreTheConfiguredOnes) {
    configure(R"(
[session]
release_strategy = 2
ping_mode = false
ping_interval_s = 5
call_timeout_s = 3
silent_time_s = 7
max_sessions = 9
[iterator]
soft_limit = 11
hard_limit = 12
batch_max = 13
read_ahead = 14
[time]
appearance = 1
reference = 1
)");
    EXPECT_EQ(settings().GetSessionReleaseStrategy(), 2);
    EXPECT_FALSE(settings().GetEmsPingMode());
    EXPECT_EQ(settings().TimeInterval(), 5);
    EXPECT_EQ(settings().TimeOut(), 3);
    EXPECT_EQ(settings().GetSilentTime(), 7);
    EXPECT_EQ(settings().GetMaxSession(), 9);
    EXPECT_EQ(settings().IteratorRestriction(), 11);
    EXPECT_EQ(settings().IteratorNum(), 12);
    EXPECT_EQ(settings().IteratorBatchMax(), 13);
    EXPECT_EQ(settings().IteratorReadAhead(), 14);
    EXPECT_EQ(settings().TimeShowAppearance(), 1);
    EXPECT_EQ(settings().TimeZoneRefPoint(), 1);
}

TEST(FactoryName, FollowsFromEmsNameAndVersion) {
    EXPECT_EQ(factoryPath(),
              "TMF_MTNM.Class | Kelp.Vendor | Kelp/EMS.EmsInstance | 3_5.Version | "
              "Kelp/EMS.EmsSessionFactory_I");
    configure("[ems]\nname = \"Acme/North\"\nversion = \"3.0\"\n");
    EXPECT_EQ(factoryPath(),
              "TMF_MTNM.Class | Acme.Vendor | Acme/North.EmsInstance | 3_0.Version | "
              "Acme/North.EmsSessionFactory_I");
}

TEST(ServiceAddresses, AreThoseOfTheTransport) {
    configure(
        "[naming]\nhost = \"127.0.0.2\"\nport = 5001\nssl_port = 5002\n"
        "[notification]\nhost = \"10.0.0.8\"\nport = 6001\nssl_port = 6002\n");
    std::string host;
    int port = 0;
    settings().GetNamingServiceAddr(host, port, false);
    EXPECT_EQ(host + ":" + std::to_string(port), "127.0.0.2:5001");
    settings().GetNamingServiceAddr(host, port, true);
    EXPECT_EQ(port, 5002);
    settings().GetNotifyServiceAddr(host, port, false);
    EXPECT_EQ(host + ":" + std::to_string(port), "10.0.0.8:6001");
    settings().GetNotifyServiceAddr(host, port, true);
    EXPECT_EQ(port, 6002);
}

TEST(ServiceAddresses, AreRereadOnlyOnRequest) {
    configure("[naming]\nport = 5001\n[notification]\nport = 6001\n");
    settings().UpdateNamingServiceParams();
    settings().UpdateNotifyServiceParams(nullptr);
    configure("[naming]\nport = 5003\n[notification]\nport = 6003\n");
    std::string host;
    int port = 0;
    settings().GetNamingServiceAddr(host, port, false);
    EXPECT_EQ(port, 5001);
    settings().GetNotifyServiceAddr(host, port, false);
    EXPECT_EQ(port, 6001);
    settings().UpdateNamingServiceParams();
    settings().UpdateNotifyServiceParams(nullptr);
    settings().GetNamingServiceAddr(host, port, false);
    EXPECT_EQ(port, 5003);
    settings().GetNotifyServiceAddr(host, port, false);
    EXPECT_EQ(port, 6003);
}

}  // namespace
