// The OpenAPI document of the operator's interface, held against a running host.

#include <gtest/gtest.h>
#include <httplib.h>
#include <sys/socket.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <tuple>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/nms_process.h"
#include "interface_document.h"

namespace kelp::test {
namespace {

using Json = InterfaceDocument::Json;
using Operation = InterfaceDocument::Operation;
/// Method, path and parameters.
using RequestShape = std::tuple<std::string, std::string, std::vector<std::string>>;

class OperatorInterface : public testing::Test {
  protected:
    void SetUp() override {
        host_.set("ems", "name", quoted("Acme/North")).set("notification", "heartbeat_s", 0);
        host_.set("session", "ping_interval_s", 1);
        host_.set("bundles", "load",
                  R"(["kelp_ems", "kelp_managedelement", "kelp_snmp", "mx_kelpcorba_env"])");
        host_.set("snmp", "listen", "['" + trapPort_.hostAndPort() + "']");
        host_.set("snmp", "sources", "['127.0.0.1/32']");
        host_.addUser("demo");
        host_.start();
        // it accepts log-ins a little earlier
        ASSERT_TRUE(eventually([&] { return ask("GET", "/health").status == 200; }));
    }

    struct Answer {
        int status = 0;
        Json body;
    };
    Answer ask(const std::string& method, const std::string& path, const Json& body = {}) {
        httplib::Client client((host_.scratch("state") / "kelp/admin.sock").string());
        client.set_address_family(AF_UNIX);
        httplib::Request request;
        request.method = method;
        request.path = path;
        if (!body.is_null()) {
            request.body = body.dump();
            request.set_header("Content-Type", "application/json");
        }
        const httplib::Result result = client.send(request);
        return result ? Answer{result->status, Json::parse(result->body, nullptr, false)}
                      : Answer{};
    }

    const PortLease trapPort_;
    Host host_;
    const InterfaceDocument document_{INTERFACE_DOCUMENT};
};

/// The path under which a handler of the operation is registered.
std::string registeredPath(const std::string& path) {
    return path.ends_with('}') ? path.substr(0, path.rfind('/') + 1) + "*" : path;
}

TEST_F(OperatorInterface, HasExactlyTheRequestsOfTheDocument) {
    std::set<RequestShape> described;
    for (const Operation& each : document_.operations())
        described.emplace(each.method, registeredPath(each.path), document_.queryOf(each));

    const Answer answer = ask("GET", "/requests");
    ASSERT_EQ(answer.status, 200);
    std::set<RequestShape> answered;
    for (const Json& each : answer.body.at("requests"))
        answered.emplace(each.at("method"), each.at("path"), each.at("parameters"));

    EXPECT_EQ(described, answered);
}

TEST_F(OperatorInterface, AnswersEachExampleAsDescribed) {
    ASSERT_TRUE(eventually([&] { return ask("GET", "/readyz").status == 200; }));
    NmsProcess nms(host_);
    nms.logIn(0, "demo");
    nms.follow(0);
    std::map<std::string, std::string> given;
    for (const Operation& each : document_.operations()) {
        const std::string path = document_.examplePath(each, given);
        const std::string what = each.method + " " + path;
        const Answer answer = ask(each.method, path, InterfaceDocument::exampleBody(each));
        EXPECT_EQ(answer.status, 200) << what << ": " << answer.body;
        EXPECT_EQ(document_.violation(each, answer.status, answer.body), "")
            << what << ": " << answer.body;
        if (answer.body.is_discarded())
            continue;
        if (answer.body.contains("lastNotificationId"))
            given["notificationId"] = answer.body["lastNotificationId"];
        if (each.path == "/sessions")
            given["number"] = answer.body.at("sessions").at(0).at("number").dump();
    }
}

TEST_F(OperatorInterface, RefusesAsDescribed) {
    for (const Operation& each : document_.operations()) {
        const Answer answer = ask(each.method, document_.examplePath(each) + "?nonsense=1");
        EXPECT_EQ(answer.status, 400) << each.method << " " << each.path;
        EXPECT_EQ(document_.violation(each, answer.status, answer.body), "") << answer.body;
    }
}

TEST_F(OperatorInterface, DocumentNoticesMissingAndUnknownMembers) {
    const Operation health = document_.operations().front();
    ASSERT_EQ(health.path, "/health");
    Json body = ask("GET", "/health").body;
    EXPECT_EQ(document_.violation(health, 200, body), "");
    body["unknown"] = 1;
    EXPECT_NE(document_.violation(health, 200, body), "");
    body.erase("unknown");
    body.erase("version");
    EXPECT_NE(document_.violation(health, 200, body), "");
}

TEST_F(OperatorInterface, ServesEachFileOfTheStatusPageThatIsDescribed) {
    const std::vector<Operation> all = document_.operations();
    const auto file = std::find_if(
        all.begin(), all.end(), [](const Operation& each) { return each.path == "/page/{file}"; });
    ASSERT_NE(file, all.end());
    for (const Json& name : file->content.at("parameters").at(0).at("schema").at("enum"))
        EXPECT_EQ(ask("GET", "/page/" + name.get<std::string>()).status, 200) << name;
}

TEST_F(OperatorInterface, StaysHealthyAndReadyWithAFrozenNms) {
    NmsProcess nms(host_);
    nms.logIn(0, "demo");
    nms.process().freeze();
    ASSERT_TRUE(eventually([&] { return ask("GET", "/status").body["severity"] == "warning"; }));
    EXPECT_EQ(ask("GET", "/healthz").status, 200);
    EXPECT_TRUE(eventually([&] { return ask("GET", "/readyz").status == 200; }));
    nms.process().thaw();
}

TEST_F(OperatorInterface, IsNotReadyWithoutTheNamingServiceButHealthy) {
    ASSERT_EQ(host_.stop(), 0);
    const PortLease nobody;
    host_.useNamingService(nobody.port());
    host_.start();
    EXPECT_TRUE(eventually([&] { return ask("GET", "/healthz").status == 200; }));
    const Answer answer = ask("GET", "/readyz");
    EXPECT_EQ(answer.status, 503);
    EXPECT_TRUE(answer.body.at("error").get<std::string>().starts_with(
        "the session factory is not registered: "));
}

}  // namespace
}  // namespace kelp::test
