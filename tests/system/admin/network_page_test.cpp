// A real host whose operators are on other machines.

#include <gtest/gtest.h>
#include <httplib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/log_file.h"
#include "harness/port_lease.h"
#include "support/throw_away_certificates.h"

namespace kelp::test {
namespace {

class NetworkPage : public testing::Test {
  protected:
    void SetUp() override {
        host_.set("notification", "heartbeat_s", 0);
        host_.set("admin", "network_listen", quoted(port_.hostAndPort()));
        host_.set("admin", "network_certificate", quoted(certificates_.issue("ems")));
        host_.addUser("bob");
        std::ofstream(host_.scratch("password")) << "a good password\n";
        ASSERT_EQ(
            ctl({"operator", "add", "anna", "--password-file", host_.scratch("password").string()}),
            0);
        host_.start();
        ASSERT_TRUE(host_.log().waitFor("reach the status page at https://"));
    }
    int ctl(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"--config", host_.configFile().string()});
        Launch launch = host_.launch(KELPCTL, std::move(arguments));
        launch.output = output_.file();
        return runToEnd(launch);
    }
    int statusAs(const std::string& password, const std::string& path = "/status") {
        httplib::SSLClient client("127.0.0.1", port_.port());
        client.set_ca_cert_path(certificates_.authority().c_str());
        client.set_basic_auth("anna", password);
        const httplib::Result result = client.Get(path);
        return result ? result->status : 0;
    }

    const ThrowAwayCertificates certificates_;
    const PortLease port_;
    Host host_;
    LogFile output_{host_.scratch("kelpctl.out")};
};

TEST_F(NetworkPage, IsForOperatorsWithTheirPassword) {
    EXPECT_EQ(statusAs("a good password"), 200);
    EXPECT_EQ(statusAs("a good password", "/"), 200);
    EXPECT_EQ(statusAs("a good password", "/metrics"), 200);
    EXPECT_EQ(statusAs("a bad password"), 401);
    // an account of an NMS is no operator's
    httplib::SSLClient client("127.0.0.1", port_.port());
    client.set_ca_cert_path(certificates_.authority().c_str());
    client.set_basic_auth("bob", "open sesame 7");
    const httplib::Result result = client.Get("/status");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 401);
}

TEST_F(NetworkPage, CertificateThatIsAboutToExpireIsShown) {
    EXPECT_EQ(ctl({"status"}), 10);  // it is valid for two days
    EXPECT_TRUE(output_.contains("certificate-expires")) << output_.text();
    EXPECT_TRUE(output_.contains("ems.pem")) << output_.text();
}

TEST_F(NetworkPage, OperatorsAreRecordedAndCanBeDisabled) {
    EXPECT_EQ(statusAs("a good password"), 200);
    EXPECT_EQ(ctl({"operator", "disable", "anna"}), 0);
    EXPECT_EQ(statusAs("a good password"), 401);
    EXPECT_TRUE(eventually([&] {
        return ctl({"audit", "--event", "login", "--user", "anna"}) == 0 &&
               output_.contains("status page") && output_.contains("account is disabled");
    })) << output_.text();
    EXPECT_EQ(ctl({"audit", "--event", "user"}), 0);
    EXPECT_TRUE(output_.contains("operator disable")) << output_.text();
    EXPECT_NE(ctl({"operator", "unlock", "anna"}), 0);
    EXPECT_EQ(host_.stop(), 0);
}

}  // namespace
}  // namespace kelp::test
