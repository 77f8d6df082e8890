#include "events/notification_address.h"

#include <gtest/gtest.h>
#include <kelp/corbabase/base_config.h>

#include "unit/corbabase/config_text.h"

namespace NS_CORBA::test {
namespace {

std::string addressWith(const std::string& toml) {
    kelp::test::configure(toml);
    CorbaBaseAgentConfig::Instance()->UpdateNotifyServiceParams(nullptr);
    return notificationServiceAddress();
}

TEST(NotificationAddress, IsThatOfTheTransport) {
    const std::string table = "[notification]\nhost = \"10.0.0.8\"\nport = 6001\nssl_port = 6002\n";
    EXPECT_EQ(addressWith(table), "corbaloc:iiop:1.2@10.0.0.8:6001/NotificationService");
    EXPECT_EQ(addressWith("[tls]\nmode = 1\nca = \"/dev/null\"\ncertificate = \"/dev/null\"\n"
                          "[naming]\nssl_port = 4844\n" +
                          table),
              "corbaloc:ssliop:1.2@10.0.0.8:6002/NotificationService");
}

TEST(NotificationAddress, PutsAnIpv6HostInBrackets) {
    for (const char* host : {"2001:db8::7", "[2001:db8::7]"})
        EXPECT_EQ(addressWith(std::string("[notification]\nhost = \"") + host + "\"\n"),
                  "corbaloc:iiop:1.2@[2001:db8::7]:4802/NotificationService");
}

}  // namespace
}  // namespace NS_CORBA::test
