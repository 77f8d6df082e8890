#include <gtest/gtest.h>
#include <kelp/admin/address.h>

#include "support/temporary_directory.h"
#include "unit/corbabase/config_text.h"

namespace kelp::admin {
namespace {

using test::ScopedEnvironment;

Address addressOf(const std::string& listen) {
    const ScopedEnvironment state("STATE_DIRECTORY", "/var/lib/kelp");
    test::configure("[admin]\nlisten = \"" + listen + "\"\n");
    return configuredAddress();
}

TEST(AdminAddress, IsASocketInTheStateDirectoryUnlessConfigured) {
    const Address address = addressOf("");
    EXPECT_EQ(address.socket, "/var/lib/kelp/admin.sock");
    EXPECT_TRUE(address.tokenFile.empty());
    EXPECT_EQ(address.text(), "/var/lib/kelp/admin.sock");
}

TEST(AdminAddress, OfHostAndPortHasATokenFile) {
    const Address address = addressOf("127.0.0.1:4880");
    EXPECT_TRUE(address.socket.empty());
    EXPECT_EQ(address.host, "127.0.0.1");
    EXPECT_EQ(address.port, 4880);
    EXPECT_EQ(address.tokenFile, "/var/lib/kelp/admin.token");
    EXPECT_EQ(address.text(), "127.0.0.1:4880");
}

TEST(AdminAddress, OfIpv6HasBracketsInItsTextOnly) {
    const Address address = addressOf("[::1]:4880");
    EXPECT_EQ(address.host, "::1");
    EXPECT_EQ(address.port, 4880);
    EXPECT_EQ(address.text(), "[::1]:4880");
}

}  // namespace
}  // namespace kelp::admin
