#include <gmock/gmock.h>

#include <future>
#include <vector>

#include "admin_fixture.h"

namespace kelp::host::test {
namespace {

using testing::HasSubstr;

class AdminSocket : public AdminServerTest {};

TEST_F(AdminSocket, AcceptsAndReturnsJson) {
    start();
    httplib::Client caller = client();
    const httplib::Result result =
        caller.Post("/echo", R"({"b": [1, 2], "a": "ü"})", "application/json");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->status, 200);
    EXPECT_EQ(result->body, "{\"b\":[1,2],\"a\":\"ü\"}\n");
    EXPECT_EQ(result->get_header_value("Content-Type"), "application/json");
}

TEST_F(AdminSocket, ReportsErrorsInJson) {
    start();
    httplib::Client caller = client();
    const httplib::Result unknown = caller.Get("/nothing");
    ASSERT_TRUE(unknown);
    EXPECT_EQ(unknown->status, 404);
    EXPECT_EQ(unknown->body, "{\"error\":\"GET /nothing is not answered by any bundle\"}\n");
    const httplib::Result wrong = caller.Post("/echo", "{", "application/json");
    ASSERT_TRUE(wrong);
    EXPECT_EQ(wrong->status, 400);
    EXPECT_THAT(wrong->body, HasSubstr("{\"error\":\"the request is not JSON"));
}

TEST_F(AdminSocket, DecodesTheParametersOfAQuery) {
    const admin::Registration list = registry_.enter(
        "GET", "/list", {"a", "b"},
        [](const admin::Request& request) { return admin::Json(request.parameters); });
    start();
    httplib::Client caller = client();
    const auto get = [&](const std::string& target) {
        const httplib::Result result = caller.Get(target);
        return result ? result->body : "no answer";
    };
    EXPECT_EQ(get("/list?b=1%262%20%C3%BC&a="), "{\"a\":\"\",\"b\":\"1&2 ü\"}\n");
    EXPECT_EQ(get("/list?"), "{}\n");
    EXPECT_EQ(get("/list?a=1&c%0A=2"), "{\"error\":\"the parameter \\\"c\\\\n\\\" is unknown\"}\n");
    for (const char* const target : {"/list?a=1&a=2", "/list?a=1&b=1&a=1", "/list?a=1&%61=2"})
        EXPECT_EQ(get(target), "{\"error\":\"the parameter \\\"a\\\" appears twice\"}\n") << target;
}

TEST_F(AdminSocket, IsAccessibleToItsOwnerOnly) {
    const mode_t before = ::umask(0);
    start();
    ::umask(before);
    EXPECT_EQ(modeOf(folder_ / "admin.sock"), S_IFSOCK | S_IRUSR | S_IWUSR);
}

TEST_F(AdminSocket, IsCreatedWithItsFolderAndRemovedWithTheServer) {
    admin::Address address;
    address.socket = folder_ / "state" / "kelp" / "admin.sock";
    start(address);
    EXPECT_TRUE(std::filesystem::exists(address.socket));
    server_.reset();
    EXPECT_FALSE(std::filesystem::exists(address.socket));
}

TEST_F(AdminSocket, OfADeadHostIsReplaced) {
    {
        const Socket dead(::socket(AF_UNIX, SOCK_STREAM, 0));
        const sockaddr_un name = unixName(folder_ / "admin.sock");
        ASSERT_EQ(::bind(dead.fd(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    }
    ASSERT_TRUE(std::filesystem::exists(folder_ / "admin.sock"));
    start();
    EXPECT_TRUE(answers());
}

TEST_F(AdminSocket, OfALiveHostIsLeftAlone) {
    start();
    EXPECT_EQ(failure(unixAddress()),
              "another kelpd runs with the state directory " + folder_.path().string());
    EXPECT_TRUE(answers());
    server_.reset();
    start();
    EXPECT_TRUE(answers());
}

TEST_F(AdminSocket, ReplacesOnlySockets) {
    folder_.write("admin.sock", "precious");
    EXPECT_THAT(failure(unixAddress()),
                HasSubstr("admin.sock: something else than a socket is there"));
    EXPECT_EQ(kelp::test::contentOf(folder_ / "admin.sock"), "precious");
}

TEST_F(AdminSocket, RefusesAPathLongerThanTheSystemAllows) {
    admin::Address address;
    address.socket = folder_ / std::string(100, 'x') / "admin.sock";
    EXPECT_THAT(failure(address), HasSubstr("the path is longer than a socket's may be"));
}

TEST_F(AdminSocket, ServesManyCallersAtOnce) {
    AdminLimits limits;
    limits.threads = 2;
    limits.patience = kFarAway;
    start(limits);
    std::vector<std::future<bool>> callers;
    for (int i = 0; i < 24; ++i)
        callers.push_back(std::async(std::launch::async, [this] { return answers(); }));
    for (std::future<bool>& caller : callers)
        EXPECT_TRUE(caller.get());
}

TEST_F(AdminSocket, StopsWhenACallerIsConnected) {
    AdminLimits limits;
    limits.readTime = kFarAway;
    start(limits);
    const RawCaller silent(folder_ / "admin.sock");
    const RawCaller halfDone(folder_ / "admin.sock");
    ASSERT_TRUE(
        halfDone.send("POST /echo HTTP/1.1\r\nContent-Type: application/json\r\n"
                      "Content-Length: 100\r\n\r\n{"));
    ASSERT_TRUE(answers());
    const auto begin = std::chrono::steady_clock::now();
    server_.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kFarAway / 2);
    EXPECT_TRUE(silent.readToEnd().has_value());
    EXPECT_TRUE(halfDone.readToEnd().has_value());
}

TEST_F(AdminSocket, StopWaitsForAnAnswerInProgress) {
    std::promise<void> entered;
    std::promise<void> released;
    const admin::Registration slow = registry_.enter("GET", "/slow", [&](const admin::Json&) {
        entered.set_value();
        released.get_future().wait();
        return admin::Json("done");
    });
    start();
    auto call = std::async(std::launch::async, [this] {
        const httplib::Result result = client().Get("/slow");
        return result ? result->body : std::string();
    });
    entered.get_future().wait();
    auto stop = std::async(std::launch::async, [this] { server_.reset(); });
    EXPECT_TRUE(kelp::test::waitUntil([this] { return !answers(); }))
        << "no more callers are taken";
    EXPECT_EQ(stop.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    released.set_value();
    stop.get();
    EXPECT_EQ(call.get(), "\"done\"\n");
}

/// The server on a port of the loopback interface.
class AdminPort : public AdminServerTest {
  protected:
    admin::Address tcpAddress() const {
        admin::Address address;
        address.host = "127.0.0.1";
        address.port = port_;
        address.tokenFile = folder_ / "admin.token";
        return address;
    }
    int statusWith(const std::string& authorization) const {
        httplib::Client caller("127.0.0.1", port_);
        const httplib::Headers headers = {{"Authorization", authorization}};
        const httplib::Result result = caller.Post(
            "/echo", authorization.empty() ? httplib::Headers() : headers, "1", "application/json");
        return result ? result->status : 0;
    }
    std::string token() const {
        const std::string line = kelp::test::contentOf(folder_ / "admin.token");
        return line.substr(0, line.find('\n'));
    }

    const int port_ = kelp::test::freePort();
};

TEST_F(AdminPort, AcceptsCallersWithTheToken) {
    start(tcpAddress());
    ASSERT_GE(token().size(), 32u);
    EXPECT_EQ(statusWith("Bearer " + token()), 200);
}

TEST_F(AdminPort, RefusesCallersWithoutTheToken) {
    start(tcpAddress());
    std::string other = token();
    other.back() = other.back() == '0' ? '1' : '0';
    for (const std::string& wrong :
         std::vector<std::string>{"", "Bearer ", "Bearer " + other, token(), "Basic " + token(),
                                  "Bearer " + token() + "0", "Bearer " + token().substr(1)})
        EXPECT_EQ(statusWith(wrong), 401) << wrong;
}

TEST_F(AdminPort, KeepsItsTokenInAPrivateFileWhileItRuns) {
    const std::filesystem::path elsewhere = folder_.write("elsewhere", "untouched");
    std::filesystem::create_symlink(elsewhere, folder_ / "admin.token");
    const mode_t before = ::umask(0);
    start(tcpAddress());
    ::umask(before);
    EXPECT_EQ(modeOf(folder_ / "admin.token"), S_IFREG | S_IRUSR | S_IWUSR);
    EXPECT_EQ(kelp::test::contentOf(elsewhere), "untouched");
    const std::string first = token();
    server_.reset();
    EXPECT_FALSE(std::filesystem::exists(folder_ / "admin.token"));
    start(tcpAddress());
    EXPECT_NE(token(), first);
}

TEST_F(AdminPort, InUseIsNamedInTheError) {
    const kelp::test::DeafListener other;
    admin::Address address = tcpAddress();
    address.port = other.port();
    EXPECT_EQ(failure(address), "the operator's interface cannot listen at " + other.hostAndPort() +
                                    ": Address already in use");
    EXPECT_FALSE(std::filesystem::exists(folder_ / "admin.token"));
}

}  // namespace
}  // namespace kelp::host::test
