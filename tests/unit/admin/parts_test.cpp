#include <gtest/gtest.h>
#include <kelp/admin/parts.h>

#include <stdexcept>

namespace kelp::admin {
namespace {

TEST(Parts, ShowTheSourcesUntilTheyLeave) {
    Parts& parts = Parts::instance();
    {
        const Registration disks = parts.enter("disks", [] { return Json{{"free", 7}}; });
        const Registration broken = parts.enter("broken", []() -> Json {
            throw RequestError("the file cannot be read", RequestError::kUnavailable);
        });
        EXPECT_THROW((void)parts.enter("disks", [] { return Json(); }), std::invalid_argument);
        const Json all = parts.current();
        EXPECT_EQ(all.size(), 2U);
        EXPECT_EQ(all.at("disks").value("free", 0), 7);
        EXPECT_EQ(all.at("broken").value("error", ""), "the file cannot be read");
    }
    EXPECT_TRUE(parts.current().empty());
}

TEST(Parts, ThatThrowAnythingElseSayOnlyThatTheyFailed) {
    const Registration broken = Parts::instance().enter(
        "broken", []() -> Json { throw std::runtime_error("a secret detail"); });
    const Json part = Parts::instance().current().at("broken");
    EXPECT_TRUE(part.contains("error"));
}

}  // namespace
}  // namespace kelp::admin
