#include "operator/ended_query.h"

#include <gtest/gtest.h>
#include <kelp/admin/registry.h>

#include <string>

namespace NS_KELPCORBA {
namespace {

using kelp::admin::RequestError;

TEST(EndedQuery, ReadsEveryParameter) {
    const EndedFilter filter = endedFilterOf({{"user", "alice"},
                                              {"nms", "127.0.0.1:1"},
                                              {"reason", "dead"},
                                              {"since", "2025-03-01T12:00:00Z"},
                                              {"until", "2025-03-02"},
                                              {"before", "17"},
                                              {"limit", "5"}});
    EXPECT_EQ(filter.user, "alice");
    EXPECT_EQ(filter.nms, "127.0.0.1:1");
    EXPECT_EQ(filter.reason, EndReason::Dead);
    EXPECT_LT(filter.since, filter.until);
    EXPECT_EQ(filter.before, 17U);
    EXPECT_EQ(filter.limit, 5U);
}

TEST(EndedQuery, RefusesWrongValues) {
    for (const auto& [name, value] :
         std::map<std::string, std::string>{{"user", std::string(1 << 20, 'x')},
                                            {"nms", ""},
                                            {"reason", "boredom"},
                                            {"since", "yesterday\x1b[2J"},
                                            {"until", "9999999999999999999999"},
                                            {"before", "99999999999999999999999"},
                                            {"limit", "1001"}}) {
        try {
            endedFilterOf({{name, value}});
            ADD_FAILURE() << name;
        } catch (const RequestError& refusal) {
            EXPECT_LT(std::string(refusal.what()).size(), 300U);
            EXPECT_EQ(std::string(refusal.what()).find('\x1b'), std::string::npos);
        }
    }
    for (const char* const wrong : {"0", "-1", "1 ", "0x10", ""})
        EXPECT_THROW(endedFilterOf({{"limit", wrong}}), RequestError) << wrong;
}

TEST(EndedQuery, EveryReasonHasItsOwnWord) {
    std::set<std::string_view> words;
    for (int i = 1; i <= static_cast<int>(EndReason::Failed); ++i) {
        const auto reason = static_cast<EndReason>(i);
        words.insert(wordOf(reason));
        EXPECT_EQ(endReasonOf(wordOf(reason)), reason);
        EXPECT_NE(endReasonWords().find(wordOf(reason)), std::string_view::npos);
    }
    EXPECT_EQ(words.size(), static_cast<std::size_t>(EndReason::Failed));
    EXPECT_FALSE(endReasonOf("none"));
}

}  // namespace
}  // namespace NS_KELPCORBA
