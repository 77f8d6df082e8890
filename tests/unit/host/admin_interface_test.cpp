// The operator's interface of the real kelpd.

#include <httplib.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>

#include "kelpd_fixture.h"

namespace kelp::test {
namespace {

class KelpdAdminInterface : public KelpdTest {
  protected:
    std::filesystem::path socket() const { return scratch_ / "state" / "admin.sock"; }
    static httplib::Client at(const std::filesystem::path& socket) {
        httplib::Client client(socket.string(), 80);
        client.set_address_family(AF_UNIX);
        return client;
    }
};

TEST_F(KelpdAdminInterface, ReportsThatTheHostIsHealthyWhileItRuns) {
    start(configure());
    const httplib::Result answer = at(socket()).Get("/health");
    ASSERT_TRUE(answer) << httplib::to_string(answer.error());
    EXPECT_EQ(answer->status, 200);
    const auto health = nlohmann::json::parse(answer->body, nullptr, false);
    EXPECT_EQ(health["status"], "ok");
    EXPECT_EQ(health["version"], KELP_VERSION);
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->waitExit(), 0);
    EXPECT_FALSE(std::filesystem::exists(socket()));
}

TEST_F(KelpdAdminInterface, IsLeftByADeadHostForTheNextOne) {
    start(configure());
    process_->kill();
    ASSERT_TRUE(std::filesystem::exists(socket()));
    output_ = LogFile(scratch_ / "second");
    start(configure());
    EXPECT_TRUE(at(socket()).Get("/health"));
}

TEST_F(KelpdAdminInterface, OfALiveHostKeepsASecondOneFromStarting) {
    start(configure());
    const PortLease otherNaming;
    const auto second = scratch_ / "second.toml";
    writeFile(second, "[naming]\nport = " + otherNaming.text() +
                          "\n[bundles]\nload = [\"calm_bundle\"]\ndir = \"" +
                          std::string(HOST_TEST_BUNDLES) + "\"\n");
    output_ = LogFile(scratch_ / "second");
    EXPECT_EQ(run({"--config", second.string()}), 6);
    EXPECT_TRUE(output_.contains("another kelpd runs with the state directory " +
                                 (scratch_ / "state").string()))
        << output_.text();
    EXPECT_TRUE(at(socket()).Get("/health")) << "the first one goes on";
}

TEST_F(KelpdAdminInterface, WithASilentCallerDoesNotDelayTheStop) {
    start(configure());
    const Socket silent(::socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    const std::string path = socket().string();
    std::copy(path.begin(), path.end(), name.sun_path);
    ASSERT_EQ(::connect(silent.fd(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->waitExit(), 0);
}

TEST_F(KelpdAdminInterface, IsOnAPortForCallersWithTheToken) {
    const PortLease port;
    start(configure("[admin]\nlisten = \"" + port.hostAndPort() + "\"\n"));
    EXPECT_FALSE(std::filesystem::exists(socket()));
    httplib::Client client("127.0.0.1", port.port());
    const httplib::Result refused = client.Get("/health");
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->status, 401);
    std::string token = contentOf(scratch_ / "state" / "admin.token");
    token.pop_back();
    client.set_bearer_token_auth(token);
    const httplib::Result answer = client.Get("/health");
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 200);
}

TEST_F(KelpdAdminInterface, OnAnAddressForOthersIsAMistakeInTheConfiguration) {
    const auto file = configure("[admin]\nlisten = \"0.0.0.0:4880\"\n");
    EXPECT_EQ(run({"--check-config", file.string()}), 3);
    EXPECT_TRUE(output_.contains(file.string() +
                                 ":7: admin.listen: \"0.0.0.0:4880\" is not an address of the "
                                 "loopback interface"))
        << output_.text();
}

}  // namespace
}  // namespace kelp::test
