// What browsers get from the operator's interface, and what they are protected from.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "admin/browser_rules.h"
#include "admin/page/page_files.h"
#include "admin_fixture.h"

namespace kelp::host::test {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(BrowserRules, NamesOfThisMachineAreAccepted) {
    for (const char* const host : {"127.0.0.1", "127.0.0.1:4880", "127.8.9.10:1", "localhost",
                                   "LocalHost:9000", "[::1]", "[::1]:4880"}) {
        EXPECT_TRUE(isNameOfThisMachine(host, AdminTransport::LoopbackPort)) << host;
        EXPECT_TRUE(isNameOfThisMachine(host, AdminTransport::UnixSocket)) << host;
    }
}

TEST(BrowserRules, NamesThatSomebodyElseCanOwnAreRefused) {
    for (const char* const host :
         {"evil.example", "evil.example:4880", "127.0.0.1.evil.example", "localhost.evil.example",
          "10.0.0.1", "0.0.0.0:4880", "[::]", "[fe80::1]:4880", "[::1", "[::1]x", "127.0.0.1:80x",
          "127.0.0.1:80:80", "localhost.", ":4880", "127.0.0.1@evil.example", "128.0.0.1", "."}) {
        EXPECT_FALSE(isNameOfThisMachine(host, AdminTransport::LoopbackPort)) << host;
        EXPECT_FALSE(isNameOfThisMachine(host, AdminTransport::UnixSocket)) << host;
    }
}

TEST(BrowserRules, ProgramsOnAUnixSocketChooseTheName) {
    for (const char* const host : {"kelp", "kelp:80", "/run/kelp/admin.sock:80"}) {
        EXPECT_FALSE(isNameOfThisMachine(host, AdminTransport::LoopbackPort)) << host;
        EXPECT_TRUE(isNameOfThisMachine(host, AdminTransport::UnixSocket)) << host;
    }
}

TEST(PageFiles, AreWholeAndNeedNoOtherMachine) {
    ASSERT_NE(pageFileAt("/"), nullptr);
    EXPECT_TRUE(pageFileAt("/")->content.ends_with("</html>\n"));
    EXPECT_EQ(pageFileAt("/page/"), nullptr);
    EXPECT_EQ(pageFileAt(""), nullptr);
    for (const PageFile& each : pageFiles()) {
        const std::string text(each.content);
        EXPECT_GT(text.size(), 500U) << each.path;
        EXPECT_THAT(text, Not(HasSubstr("//cdn"))) << each.path;
        EXPECT_THAT(text, Not(HasSubstr("http://"))) << each.path;
        EXPECT_THAT(text, Not(HasSubstr("https://"))) << each.path;
        // texts of NMS must not become markup
        EXPECT_THAT(text, Not(HasSubstr("innerHTML"))) << each.path;
        EXPECT_THAT(text, Not(HasSubstr("insertAdjacentHTML"))) << each.path;
    }
    // the policy of the page allows neither
    EXPECT_THAT(std::string(pageFileAt("/")->content), Not(HasSubstr("style=")));
    EXPECT_THAT(std::string(pageFileAt("/")->content), Not(HasSubstr("<style")));
}

class StatusPage : public AdminServerTest {
  protected:
    httplib::Result get(const std::string& path, const httplib::Headers& headers = {}) const {
        return client().Get(path, headers);
    }
    static void expectProtection(const httplib::Result& answer) {
        ASSERT_TRUE(answer);
        const std::string policy = answer->get_header_value("Content-Security-Policy");
        for (const char* const rule :
             {"default-src 'none'", "script-src 'self'", "style-src 'self'", "connect-src 'self'",
              "base-uri 'none'", "form-action 'none'", "frame-ancestors 'none'",
              "require-trusted-types-for 'script'"})
            EXPECT_THAT(policy, HasSubstr(rule));
        EXPECT_THAT(policy, Not(HasSubstr("unsafe")));
        EXPECT_THAT(policy, Not(HasSubstr("*")));
        EXPECT_EQ(answer->get_header_value("X-Content-Type-Options"), "nosniff");
        EXPECT_EQ(answer->get_header_value("X-Frame-Options"), "DENY");
        EXPECT_EQ(answer->get_header_value("Referrer-Policy"), "no-referrer");
        EXPECT_EQ(answer->get_header_value("Cache-Control"), "no-store");
        EXPECT_EQ(answer->get_header_value("Cross-Origin-Resource-Policy"), "same-origin");
        EXPECT_FALSE(answer->has_header("Access-Control-Allow-Origin"));
    }
    int postWith(const httplib::Headers& headers) const {
        const httplib::Result answer = client().Post("/echo", headers, "1", "application/json");
        return answer ? answer->status : 0;
    }
};

TEST_F(StatusPage, IsServedWithAllItsFiles) {
    start();
    for (const PageFile& each : pageFiles()) {
        const httplib::Result answer = get(std::string(each.path));
        ASSERT_TRUE(answer) << each.path;
        EXPECT_EQ(answer->status, 200);
        EXPECT_EQ(answer->get_header_value("Content-Type"), each.type);
        EXPECT_EQ(answer->body, each.content);
        expectProtection(answer);
    }
    EXPECT_EQ(get("/page/other.js")->status, 404);
    EXPECT_EQ(get("/page/../page/page.js")->status, 404);
    EXPECT_EQ(get("/page/page.js/")->status, 404);
    EXPECT_EQ(get("/?a=1")->status, 400);
    EXPECT_EQ(client().Post("/", "1", "application/json")->status, 404);
}

TEST_F(StatusPage, ProtectionIsOnEveryAnswer) {
    start();
    expectProtection(get("/nothing"));
    expectProtection(client().Post("/echo", "1", "application/json"));
    expectProtection(client().Post("/echo", "{", "application/json"));
    expectProtection(get("/", {{"Host", "evil.example"}}));
}

TEST_F(StatusPage, NameOfSomebodyElseIsRefused) {
    start();
    const httplib::Result answer = get("/", {{"Host", "evil.example\"<b>:4880"}});
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 403);
    EXPECT_THAT(answer->body, HasSubstr("does not name this machine"));
    EXPECT_EQ(postWith({{"Host", "evil.example"}}), 403);
    EXPECT_EQ(postWith({{"Host", "localhost:9000"}}), 200);
    EXPECT_EQ(postWith({{"Host", "localhost"}, {"Host", "evil.example"}}), 403);
}

TEST_F(StatusPage, RequestsOfOtherPagesAreRefused) {
    start();
    const std::string host = "localhost:9000";
    EXPECT_EQ(postWith({{"Host", host}, {"Origin", "http://localhost:9000"}}), 200);
    for (const std::string& origin :
         std::vector<std::string>{"http://evil.example", "null", "http://localhost:9001",
                                  "https://localhost:9000", "http://localhost:9000/"})
        EXPECT_EQ(postWith({{"Host", host}, {"Origin", origin}}), 403) << origin;
}

/// The page on a port of the loopback interface, which needs a token for everything else.
class StatusPageOnAPort : public AdminServerTest {
  protected:
    void SetUp() override {
        admin::Address address;
        address.host = "127.0.0.1";
        address.port = port_;
        address.tokenFile = folder_ / "admin.token";
        start(address);
    }
    int statusOf(const std::string& path, const httplib::Headers& headers = {}) const {
        httplib::Client caller("127.0.0.1", port_);
        const httplib::Result answer = caller.Get(path, headers);
        return answer ? answer->status : 0;
    }

    const int port_ = kelp::test::freePort();
};

TEST_F(StatusPageOnAPort, IsServedWithoutTheTokenButNoDataIs) {
    for (const PageFile& each : pageFiles())
        EXPECT_EQ(statusOf(std::string(each.path)), 200) << each.path;
    for (const char* const path : {"/echo", "/sessions", "/page", "/page/", "/page/other.js", "//"})
        EXPECT_EQ(statusOf(path), 401) << path;
    httplib::Client caller("127.0.0.1", port_);
    EXPECT_EQ(caller.Post("/", "1", "application/json")->status, 401);
    EXPECT_EQ(caller.Delete("/page/page.js")->status, 401);
}

TEST_F(StatusPageOnAPort, OnlyNamesOfThisMachineReachIt) {
    EXPECT_EQ(statusOf("/", {{"Host", "localhost:9000"}}), 200);
    for (const char* const host : {"evil.example", "kelp", "192.0.2.1:4880"})
        EXPECT_EQ(statusOf("/", {{"Host", host}}), 403) << host;
}

}  // namespace
}  // namespace kelp::host::test
