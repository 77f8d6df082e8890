#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/admin/registry.h>

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "support/wait_until.h"

namespace kelp::admin {
namespace {

using testing::HasSubstr;

/// A registry with one handler at POST /echo, which answers with the request.
class AdminRegistry : public testing::Test {
  protected:
    Answer post(const std::string& body) { return registry_.answer("POST", "/echo", body); }
    static std::string errorOf(const Answer& answer) { return answer.body.value("error", ""); }

    Registry registry_;
    Registration echo_ =
        registry_.enter("POST", "/echo", [](const Json& request) { return request; });
};

TEST_F(AdminRegistry, LetsTheHandlerAnswerAndKeepsTheOrderOfMembers) {
    const Answer answer = post(R"({"z": 1, "a": [true, null], "m": "x"})");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body.dump(), R"({"z":1,"a":[true,null],"m":"x"})");
}

TEST_F(AdminRegistry, GivesNullForARequestWithoutABody) {
    const Answer answer = post("");
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.body.is_null());
}

TEST_F(AdminRegistry, AnswersNotFoundForAPathWithoutAHandler) {
    const Answer answer = registry_.answer("POST", "/nothing", "");
    EXPECT_EQ(answer.status, 404);
    EXPECT_EQ(errorOf(answer), "POST /nothing is not answered by any bundle");
}

TEST_F(AdminRegistry, AnswersMethodNotAllowedForAKnownPath) {
    const Answer answer = registry_.answer("GET", "/echo", "");
    EXPECT_EQ(answer.status, 405);
    EXPECT_EQ(errorOf(answer), "GET /echo is not possible");
}

TEST_F(AdminRegistry, ReportsWhereTextIsNotJson) {
    const Answer answer = post("{\"a\": 1,\n  b}");
    EXPECT_EQ(answer.status, 400);
    EXPECT_THAT(errorOf(answer), HasSubstr("the request is not JSON"));
    EXPECT_THAT(errorOf(answer), HasSubstr("line 2"));
}

TEST_F(AdminRegistry, RefusesTextThatIsNotUtf8) {
    EXPECT_EQ(post("\"\xff\xfe\"").status, 400);
    EXPECT_EQ(post("{} {}").status, 400) << "and more than one value";
    EXPECT_EQ(post("1e999").status, 400) << "and a number that no machine has";
}

TEST_F(AdminRegistry, RefusesTooDeepNestingBeforeTheBodyIsCopied) {
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + "1" + std::string(depth, ']');
    };
    EXPECT_EQ(post(nested(32)).status, 200);
    for (const std::size_t depth : {33u, 500000u}) {
        const Answer answer = post(nested(depth));
        EXPECT_EQ(answer.status, 400);
        EXPECT_EQ(errorOf(answer), "the request is nested deeper than 32 times");
    }
    std::string objects;
    for (int i = 0; i < 100000; ++i)
        objects += "{\"a\":";
    EXPECT_EQ(post(objects + "1" + std::string(100000, '}')).status, 400);
}

TEST_F(AdminRegistry, RefusesAnObjectWithTooManyKeys) {
    const auto members = [](int count) {
        std::string all;
        for (int i = 0; i < count; ++i)
            all += (i == 0 ? "{\"" : ",\"") + std::to_string(i) + "\":1";
        return all + "}";
    };
    EXPECT_EQ(post(members(1000)).status, 200);
    EXPECT_EQ(errorOf(post(members(1001))), "an object has more than 1000 keys");
    EXPECT_EQ(post(members(100000)).status, 400);
}

TEST_F(AdminRegistry, RefusesARepeatedKeyAtAnyDepth) {
    for (const std::string body : {R"({"a": 1, "a": 2})", R"([{"x": {"a": 1, "b": 2, "a": 1}}])"}) {
        const Answer answer = post(body);
        EXPECT_EQ(answer.status, 400) << body;
        EXPECT_EQ(errorOf(answer), "the key \"a\" appears twice") << body;
    }
    EXPECT_EQ(post(R"([{"a": 1}, {"a": 2, "b": {"a": 3}}])").status, 200)
        << "each in an object of its own";
}

TEST_F(AdminRegistry, AnswersARefusalWithItsStatusAndReason) {
    const Registration refusing = registry_.enter("GET", "/busy", [](const Json&) -> Json {
        throw RequestError("come again", RequestError::kUnavailable);
    });
    const Answer answer = registry_.answer("GET", "/busy", "");
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.body.dump(), R"({"error":"come again"})");
}

TEST_F(AdminRegistry, AnswersWhateverElseAHandlerRaisesAsAnInternalError) {
    const Registration failing =
        registry_.enter("GET", "/failing", [](const Json& request) -> Json {
            if (request.is_null())
                throw std::logic_error("broken");
            throw 7;
        });
    EXPECT_EQ(registry_.answer("GET", "/failing", "").status, 500);
    EXPECT_EQ(errorOf(registry_.answer("GET", "/failing", "")), "broken");
    EXPECT_EQ(registry_.answer("GET", "/failing", "1").status, 500);
}

TEST_F(AdminRegistry, GivesTheParametersThatTheHandlerKnows) {
    const Registration listing =
        registry_.enter("GET", "/list", {"limit", "name"}, [](const Request& request) {
            EXPECT_TRUE(request.body.is_null());
            return Json(request.parameters);
        });
    const auto get = [&](const Query& query) {
        return registry_.answer("GET", "/list", "", query);
    };
    EXPECT_EQ(get({}).body.dump(), "{}");
    EXPECT_EQ(get({{"name", "a&b"}, {"limit", ""}}).body.dump(), R"({"limit":"","name":"a&b"})");
    const Answer unknown = get({{"limit", "1"}, {"li\nmit", "2"}});
    EXPECT_EQ(unknown.status, 400);
    EXPECT_EQ(errorOf(unknown), "the parameter \"li\\nmit\" is unknown");
    const Answer repeated = get({{"limit", "1"}, {"limit", "2"}});
    EXPECT_EQ(repeated.status, 400);
    EXPECT_EQ(errorOf(repeated), "the parameter \"limit\" appears twice");
}

TEST_F(AdminRegistry, RefusesParametersForAHandlerOfBodies) {
    const Answer answer = registry_.answer("POST", "/echo", "1", {{"x", "1"}});
    EXPECT_EQ(answer.status, 400);
    EXPECT_EQ(errorOf(answer), "the parameter \"x\" is unknown");
}

TEST_F(AdminRegistry, LetsOneHandlerAnswerForAllItemsOfAFolder) {
    const RequestHandler tellItem = [](const Request& request) { return Json(request.item); };
    const Registration items = registry_.enter("GET", "/echo/*", {}, tellItem);
    const Registration exact =
        registry_.enter("GET", "/echo/all", [](const Json&) { return Json("everything"); });
    EXPECT_EQ(registry_.answer("GET", "/echo/17", "").body, "17");
    EXPECT_EQ(registry_.answer("GET", "/echo/", "").body, "");
    EXPECT_EQ(registry_.answer("GET", "/echo/all", "").body, "everything");
    EXPECT_EQ(registry_.answer("POST", "/echo/17", "").status, 405);
    EXPECT_EQ(registry_.answer("GET", "/echo/17/18", "").status, 404);
    EXPECT_EQ(registry_.answer("GET", "/other/17", "").status, 404);
}

TEST_F(AdminRegistry, HasOneHandlerForARequest) {
    const Handler other = [](const Json&) { return Json("other"); };
    EXPECT_THROW(static_cast<void>(registry_.enter("POST", "/echo", other)), std::invalid_argument);
    EXPECT_EQ(post("1").body, 1) << "the first one stays";
    const Registration byOtherMethod = registry_.enter("PUT", "/echo", other);
    EXPECT_EQ(registry_.answer("PUT", "/echo", "").body, "other");
}

TEST_F(AdminRegistry, ForgetsAHandlerThatLeavesAndAcceptsAnother) {
    echo_.leave();
    EXPECT_EQ(post("1").status, 404);
    echo_.leave();  // a second call does nothing
    const Registration other =
        registry_.enter("POST", "/echo", [](const Json&) { return Json("other"); });
    EXPECT_EQ(post("1").body, "other");
}

TEST_F(AdminRegistry, KeepsAMovedRegistration) {
    std::optional<Registration> kept(std::move(echo_));
    echo_ = Registration();
    EXPECT_EQ(post("1").status, 200);
    kept.reset();
    EXPECT_EQ(post("1").status, 404);
}

TEST_F(AdminRegistry, ReleasesAHandlerAfterItsCallsHaveEndedAndKeepsNothingOfIt) {
    std::promise<void> entered;
    std::promise<void> released;
    std::atomic<bool> hasLeft{false};
    auto owned = std::make_shared<int>(7);
    const std::weak_ptr<int> remains = owned;
    Registration slow = registry_.enter("GET", "/slow", [&, owned](const Json&) {
        entered.set_value();
        released.get_future().wait();
        EXPECT_FALSE(hasLeft);
        return Json(*owned);
    });
    owned.reset();
    auto call =
        std::async(std::launch::async, [&] { return registry_.answer("GET", "/slow", ""); });
    entered.get_future().wait();
    std::thread leaver([&] {
        slow.leave();
        hasLeft = true;
    });
    ASSERT_TRUE(test::waitUntil([&] { return registry_.answer("GET", "/slow", "").status == 404; }))
        << "no new calls from the beginning of the leave";
    EXPECT_FALSE(hasLeft);
    released.set_value();
    leaver.join();
    EXPECT_TRUE(remains.expired());
    EXPECT_EQ(call.get().body, 7) << "the call in progress got its answer";
}

TEST_F(AdminRegistry, CallsAHandlerForSeveralCallersAtOnce) {
    std::atomic<int> inside{0};
    const Registration meeting = registry_.enter("GET", "/meet", [&](const Json&) {
        ++inside;
        return Json(test::waitUntil([&] { return inside == 2; }));
    });
    auto other =
        std::async(std::launch::async, [&] { return registry_.answer("GET", "/meet", ""); });
    EXPECT_EQ(registry_.answer("GET", "/meet", "").body, true);
    EXPECT_EQ(other.get().body, true);
}

}  // namespace
}  // namespace kelp::admin
