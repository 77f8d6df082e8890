// The operator's interface for other machines: TLS, passwords, and callers that attack it.

#include "admin/network/network_server.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "admin_fixture.h"
#include "support/throw_away_certificates.h"

namespace kelp::host::test {

using httplib::Result;

class NetworkServerTest : public AdminServerTest {
  protected:
    void SetUp() override {
        users::UserDatabase(operators()).add("anna", kPassword, kCheap);
        network_.address.host = "127.0.0.1";
        network_.address.port = port_;
        network_.certificate = certificate_;
        network_.operators = operators();
    }
    std::filesystem::path operators() const { return folder_ / "operators.db"; }
    void startNetwork(const AdminLimits& limits = NetworkServer::kLimits) {
        networkServer_ = std::make_unique<NetworkServer>(network_, limits, registry_);
    }
    std::unique_ptr<httplib::SSLClient> browser(const std::string& name = "anna",
                                                const std::string& password = kPassword) const {
        auto client = std::make_unique<httplib::SSLClient>("127.0.0.1", port_);
        client->set_ca_cert_path(certificates_.authority().c_str());
        client->enable_server_certificate_verification(true);
        client->set_read_timeout(20);
        if (!name.empty())
            client->set_basic_auth(name, password);
        return client;
    }
    static int statusOf(const Result& result) { return result ? result->status : 0; }
    int statusAs(const std::string& name, const std::string& password) const {
        return statusOf(browser(name, password)->Get("/figures"));
    }

    static constexpr const char* kPassword = "a good password";
    static constexpr users::HashCost kCheap{.memoryKib = 64, .passes = 1};
    const kelp::test::ThrowAwayCertificates certificates_;
    const std::string certificate_ = certificates_.issue("ems");
    const std::uint16_t port_ = kelp::test::freePort();
    NetworkAddress network_;
    const admin::Registration figures_ = registry_.enter("GET", "/figures", [](const admin::Json&) {
        return admin::Json{{"figure", 7}};
    });
    std::unique_ptr<NetworkServer> networkServer_;
};

TEST_F(NetworkServerTest, AnswersAnOperatorOverTls) {
    startNetwork();
    const Result figures = browser()->Get("/figures");
    ASSERT_EQ(statusOf(figures), 200);
    EXPECT_EQ(figures->body, "{\"figure\":7}\n");
    const Result page = browser()->Get("/");
    ASSERT_EQ(statusOf(page), 200);
    EXPECT_TRUE(page->get_header_value("Content-Type").starts_with("text/html"));
    EXPECT_NE(page->get_header_value("Content-Security-Policy"), "");
}

TEST_F(NetworkServerTest, AsksForAPasswordAlsoBeforeThePage) {
    startNetwork();
    for (const char* const path : {"/", "/page/page.js", "/figures", "/nothing"}) {
        const Result refused = browser("")->Get(path);
        ASSERT_EQ(statusOf(refused), 401) << path;
        EXPECT_TRUE(refused->get_header_value("WWW-Authenticate").starts_with("Basic ")) << path;
    }
}

TEST_F(NetworkServerTest, RefusesOtherCredentials) {
    startNetwork();
    EXPECT_EQ(statusAs("anna", "wrong"), 401);
    EXPECT_EQ(statusAs("nobody", kPassword), 401);
    EXPECT_EQ(statusAs("anna", ""), 401);
    for (const std::string& header :
         {std::string("Basic"), std::string("Basic !!!!"), std::string("Basic YW5uYQ=="),
          std::string("Bearer YW5uYQ=="), "Basic " + std::string(5000, 'A')}) {
        EXPECT_EQ(statusOf(browser("")->Get("/figures", {{"Authorization", header}})), 401)
            << header.substr(0, 20);
    }
    EXPECT_EQ(statusAs("anna", kPassword), 200);
}

TEST_F(NetworkServerTest, GuessingIsRefusedWithoutHashing) {
    startNetwork();
    int tooOften = 0;
    for (int i = 0; i < 8; ++i)
        tooOften += statusAs("anna", "guess " + std::to_string(i)) == 429 ? 1 : 0;
    EXPECT_GE(tooOften, 2);
    EXPECT_EQ(statusAs("anna", kPassword), 429);
}

TEST_F(NetworkServerTest, OperatorWhoIsKnownIsNotLockedOutByGuesses) {
    startNetwork();
    ASSERT_EQ(statusAs("anna", kPassword), 200);
    for (int i = 0; i < 8; ++i)
        statusAs("anna", "guess " + std::to_string(i));
    EXPECT_EQ(statusAs("anna", kPassword), 200);
}

TEST_F(NetworkServerTest, ChangedAccountAppliesToTheNextRequest) {
    startNetwork();
    ASSERT_EQ(statusAs("anna", kPassword), 200);
    users::UserDatabase(operators()).setEnabled("anna", false);
    EXPECT_EQ(statusAs("anna", kPassword), 401);
    users::UserDatabase(operators()).setEnabled("anna", true);
    EXPECT_EQ(statusAs("anna", kPassword), 200);
    users::UserDatabase(operators()).setPassword("anna", "another password", kCheap);
    EXPECT_EQ(statusAs("anna", kPassword), 401);
    EXPECT_EQ(statusAs("anna", "another password"), 200);
    users::UserDatabase(operators()).setNetworks("anna", {"192.0.2.0/24"});
    EXPECT_EQ(statusAs("anna", "another password"), 401);
    users::UserDatabase(operators()).setNetworks("anna", {"127.0.0.1"});
    EXPECT_EQ(statusAs("anna", "another password"), 200);
    users::UserDatabase(operators()).setExpiry("anna", 1);
    EXPECT_EQ(statusAs("anna", "another password"), 401);
}

TEST_F(NetworkServerTest, MissingOrReplacedDatabaseIsNoWayIn) {
    std::filesystem::remove(operators());
    startNetwork();
    EXPECT_EQ(statusAs("anna", kPassword), 401);
    users::UserDatabase(operators()).add("bert", kPassword, kCheap);
    EXPECT_EQ(statusAs("bert", kPassword), 200);
    std::filesystem::remove(operators());
    users::UserDatabase(operators()).add("carl", kPassword, kCheap);
    EXPECT_EQ(statusAs("bert", kPassword), 401);
}

TEST_F(NetworkServerTest, OnlyReads) {
    startNetwork();
    EXPECT_EQ(statusOf(browser()->Post("/echo", "", "application/json")), 405);
    EXPECT_EQ(statusOf(browser()->Delete("/figures")), 405);
    EXPECT_EQ(statusOf(browser()->Put("/figures", "", "application/json")), 405);
}

TEST_F(NetworkServerTest, RefusesRequestsOfOtherPages) {
    startNetwork();
    EXPECT_EQ(statusOf(browser()->Get("/figures", {{"Origin", "https://elsewhere.example"}})), 403);
    const std::string own = "https://127.0.0.1:" + std::to_string(port_);
    EXPECT_EQ(statusOf(browser()->Get("/figures", {{"Origin", own}})), 200);
}

TEST_F(NetworkServerTest, PlainHttpGetsNoAnswer) {
    startNetwork();
    httplib::Client plain("127.0.0.1", port_);
    plain.set_basic_auth("anna", kPassword);
    EXPECT_FALSE(plain.Get("/figures"));
    EXPECT_EQ(statusAs("anna", kPassword), 200);
}

TEST_F(NetworkServerTest, OldTlsIsRefused) {
    startNetwork();
    const std::string command = "openssl s_client -connect 127.0.0.1:" + std::to_string(port_) +
                                " -tls1_1 -cipher 'ALL:@SECLEVEL=0' </dev/null >" +
                                (folder_ / "old").string() + " 2>&1";
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_EQ(statusAs("anna", kPassword), 200);
}

TEST_F(NetworkServerTest, SilentCallersDoNotKeepOperatorsOut) {
    AdminLimits limits = NetworkServer::kLimits;
    limits.readTime = kFarAway;
    limits.patience = std::chrono::milliseconds(50);
    startNetwork(limits);
    std::vector<Socket> silent;
    for (std::size_t i = 0; i < limits.connectionsPerAddressMax - 1; ++i)
        silent.push_back(kelp::test::connectTo(port_));
    EXPECT_EQ(statusAs("anna", kPassword), 200);
}

TEST_F(NetworkServerTest, OneAddressHasAShareOfTheConnections) {
    AdminLimits limits = NetworkServer::kLimits;
    limits.readTime = kFarAway;
    limits.patience = kFarAway;
    limits.connectionsPerAddressMax = 3;
    startNetwork(limits);
    std::vector<Socket> silent;
    for (int i = 0; i < 3; ++i)
        silent.push_back(kelp::test::connectTo(port_));
    EXPECT_TRUE(kelp::test::waitUntil([&] { return statusAs("anna", kPassword) == 0; }));
    silent.clear();
    EXPECT_TRUE(kelp::test::waitUntil([&] { return statusAs("anna", kPassword) == 200; }));
}

TEST_F(NetworkServerTest, NewCertificateIsUsedWithoutARestart) {
    startNetwork();
    ASSERT_EQ(statusAs("anna", kPassword), 200);
    const kelp::test::ThrowAwayCertificates others("Other CA");
    const std::string other = others.issue("ems");
    const auto later = std::filesystem::last_write_time(certificate_) + std::chrono::seconds(10);
    std::filesystem::copy_file(other, certificate_,
                               std::filesystem::copy_options::overwrite_existing);
    std::filesystem::last_write_time(certificate_, later);
    EXPECT_EQ(statusAs("anna", kPassword), 0);
    httplib::SSLClient client("127.0.0.1", port_);
    client.set_ca_cert_path(others.authority().c_str());
    client.set_basic_auth("anna", kPassword);
    EXPECT_EQ(statusOf(client.Get("/figures")), 200);
    // an unusable file changes nothing
    std::ofstream(certificate_) << "no certificate\n";
    std::filesystem::last_write_time(certificate_, later + std::chrono::seconds(10));
    EXPECT_EQ(statusOf(client.Get("/figures")), 200);
}

TEST_F(NetworkServerTest, UnusableCertificateIsAnErrorAtTheStart) {
    const auto why = [&] {
        try {
            startNetwork();
            return std::string();
        } catch (const std::runtime_error& failure) {
            return std::string(failure.what());
        }
    };
    network_.certificate = folder_ / "missing";
    EXPECT_NE(why(), "");
    network_.certificate = folder_ / "no.pem";
    std::ofstream(network_.certificate) << "nothing\n";
    std::filesystem::permissions(network_.certificate, std::filesystem::perms::owner_read);
    EXPECT_NE(why().find("no.pem"), std::string::npos);
    network_.certificate = certificates_.issue("locked", "secret");
    EXPECT_NE(why().find("password"), std::string::npos) << why();
    network_.certificate = certificate_;
    std::filesystem::permissions(certificate_, std::filesystem::perms::others_read,
                                 std::filesystem::perm_options::add);
    EXPECT_NE(why().find("read by others"), std::string::npos) << why();
}

TEST_F(NetworkServerTest, GuessesOfManyAddressesTogetherAreLimited) {
    OperatorAccounts accounts(operators());
    const std::string wrong = "Basic YW5uYTp3cm9uZw==";  // anna:wrong
    const auto now = std::chrono::steady_clock::now();
    const auto judge = [&](int number, OperatorAccounts::Time time) {
        return accounts.judge(wrong, util::parseHostAddress("192.0.2." + std::to_string(number)),
                              time);
    };
    int hashed = 0;
    for (int i = 1; i <= 60; ++i)
        hashed += judge(i, now) == OperatorAccounts::Verdict::Refused ? 1 : 0;
    EXPECT_EQ(hashed, 20);
    EXPECT_EQ(judge(100, now + std::chrono::seconds(2)), OperatorAccounts::Verdict::Refused);
}

TEST_F(NetworkServerTest, MissingDatabaseDoesNotFillTheTrace) {
    std::filesystem::remove(operators());
    OperatorAccounts accounts(operators());
    const auto now = std::chrono::steady_clock::now();
    const util::PeerAddress peer = util::parseHostAddress("192.0.2.1");
    int refused = 0;
    for (int i = 0; i < 20; ++i)
        refused +=
            accounts.judge("Basic YW5uYTphOmI=", peer, now) == OperatorAccounts::Verdict::Refused
                ? 1
                : 0;
    EXPECT_EQ(refused, 5);
}

TEST(Credentials, AreNameAndPassword) {
    const auto given = credentialsOf("Basic YW5uYTphOmI=");
    ASSERT_TRUE(given);
    EXPECT_EQ(given->name, "anna");
    EXPECT_EQ(given->password, "a:b");
}

}  // namespace kelp::host::test
