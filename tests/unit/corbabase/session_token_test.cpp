#include <gtest/gtest.h>
#include <kelp/corbabase/session_token.h>

#include <set>
#include <string>

namespace {

using NS_CORBA::SessionToken;

std::string idOf(const SessionToken& token, const std::string& name) {
    const PortableServer::ObjectId_var id = token.idOf(name);
    return std::string(NS_CORBA::octetsOf(id.in()));
}

TEST(SessionToken, FollowsTheName) {
    const SessionToken token;
    const std::string id = idOf(token, "ManagedElement");
    EXPECT_EQ(id.size(), 14u + 16u);
    EXPECT_EQ(id.substr(0, 14), "ManagedElement");
    EXPECT_EQ(id.substr(14), idOf(token, ""));
    EXPECT_TRUE(token.isIn(id));
    EXPECT_EQ(SessionToken::nameIn(id), "ManagedElement");
    EXPECT_EQ(SessionToken::nameIn(idOf(token, "")), "");
}

TEST(SessionToken, DiffersEachTime) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i)
        seen.insert(idOf(SessionToken(), ""));
    EXPECT_EQ(seen.size(), 1000u);
}

TEST(SessionToken, IsInNoIdThatEndsInAnythingElse) {
    const SessionToken token;
    const std::string id = idOf(token, "EMS");
    EXPECT_FALSE(token.isIn(""));
    EXPECT_FALSE(token.isIn("EMS"));
    EXPECT_FALSE(token.isIn(std::string(64, 'x')));
    EXPECT_FALSE(token.isIn(idOf(SessionToken(), "EMS"))) << "that of another session";
    EXPECT_FALSE(token.isIn(id + "x")) << "with something behind it";
    EXPECT_FALSE(token.isIn(id + id.substr(0, 3)));
    for (std::size_t length = 0; length < id.size(); ++length)
        EXPECT_FALSE(token.isIn(id.substr(0, length))) << "cut to " << length;
    for (std::size_t at = 3; at < id.size(); ++at) {
        for (int bit = 0; bit < 8; ++bit) {
            std::string other = id;
            other[at] = static_cast<char>(other[at] ^ (1 << bit));
            EXPECT_FALSE(token.isIn(other)) << at << ", bit " << bit;
        }
    }
    // any name may precede the token: whether such a manager exists is checked elsewhere
    EXPECT_TRUE(token.isIn("x" + id));
    EXPECT_TRUE(token.isIn(id.substr(3)));
}

TEST(SessionToken, LeavesNoNameInAnIdThatIsShorter) {
    EXPECT_EQ(SessionToken::nameIn(""), "");
    EXPECT_EQ(SessionToken::nameIn("EMS"), "");
    EXPECT_EQ(SessionToken::nameIn(std::string(16, 'x')), "");
    EXPECT_EQ(SessionToken::nameIn("E" + std::string(16, 'x')), "E");
}

}  // namespace
