// References that cannot be guessed: what a caller reaches who knows everything about a session
// except the secret in its references.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/orb/poas.h>

#include <set>

#include "adapter/iterator_activator.h"
#include "adapter/session_source.h"
#include "component/corbabase/open_logs.h"
#include "support/agent_fixture.h"
#include "support/raw_locate.h"
#include "support/test_iterator.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using kelp::oplog::LogEntry;

constexpr std::size_t kTokenOctets = NS_CORBA::SessionToken::kOctets;

class References : public testing::Test {
  protected:
    std::string keyOf(CORBA::Object_ptr object) const {
        kelp::orb::ReferenceContent content;
        EXPECT_TRUE(kelp::orb::describe(agent_.orb(), object, content));
        return content.objectKey;
    }
    /// Return the object with this key, called over a connection.
    common::Common_I_var manager(const std::string& key) const {
        return common::Common_I_var(common::Common_I::_unchecked_narrow(object(key).in()));
    }
    emsSession::EmsSession_I_var session(const std::string& key) const {
        return emsSession::EmsSession_I_var(
            emsSession::EmsSession_I::_unchecked_narrow(object(key).in()));
    }
    bool isServed(const std::string& key) const {
        try {
            common::CapabilityList_T_var capabilities;
            manager(key)->getCapabilities(capabilities.out());
            return true;
        } catch (const CORBA::OBJECT_NOT_EXIST& answer) {
            EXPECT_EQ(answer.minor(), kelp::orb::unknownObject().minor());
            return false;
        }
    }
    std::string keyOfManager(emsSession::EmsSession_I_ptr owner) const {
        common::Common_I_var made;
        owner->getManager("EMS", made.out());
        return keyOf(made.in());
    }
    /// Open an iterator in this NMS's session. Return its key.
    std::string keyOfIterator(const TestNms& nms) {
        const PortableServer::POA_var top = agent_.listed(nms)->source()->get_POA();
        const PortableServer::POA_var poa = top->find_POA("iterator", false);
        CORBA::Object_var reference;
        EXPECT_EQ(agent_.sessions().add_iterator(new TestIterator(poa.in(), alive_), reference),
                  0ul);
        return keyOf(reference.in());
    }

    std::atomic<int> alive_{0};
    // the missing secret must stop a guesser, not the limit of locate requests
    RunningAgent agent_{AgentOptions{.accessLines = "locate_requests_before_login = 1000000\n"}};

  private:
    CORBA::Object_var object(const std::string& key) const {
        return CORBA::Object_var(kelp::orb::toReference(
            agent_.orb(),
            "corbaloc:iiop:1.2@127.1:" + std::to_string(agent_.port()) + "/" + escapedKey(key)));
    }
};

TEST_F(References, ToAManagerEndInTheSessionsToken) {
    const emsSession::EmsSession_I_var own = agent_.logIn(agent_.nms());
    const std::string key = keyOfManager(own.in());
    EXPECT_TRUE(isServed(key));
    EXPECT_EQ(key, keyOfManager(own.in())) << "the same name yields the same reference";
    const std::string bare = key.substr(0, key.size() - kTokenOctets);
    EXPECT_TRUE(bare.ends_with("EMS"));
    EXPECT_FALSE(isServed(bare)) << "without a token";
    EXPECT_FALSE(isServed(key + "x")) << "with something behind it";
    EXPECT_FALSE(isServed(key + key.substr(bare.size()).substr(1)));
    EXPECT_FALSE(isServed(bare + std::string(kTokenOctets, '\0')));
    EXPECT_FALSE(isServed(bare + "x" + key.substr(bare.size())))
        << "with something behind the name";
    for (std::size_t length = bare.size(); length < key.size(); ++length)
        EXPECT_FALSE(isServed(key.substr(0, length))) << "cut to " << length;
    for (std::size_t at = bare.size(); at < key.size(); ++at) {
        std::string other = key;
        other[at] = static_cast<char>(other[at] ^ 1);
        EXPECT_FALSE(isServed(other)) << at;
    }
    EXPECT_EQ(agent_.manager().calls, 1);
}

TEST_F(References, OfOneSessionAreOfNoUseInAnother) {
    const emsSession::EmsSession_I_var one = agent_.logIn(agent_.nms(1));
    const emsSession::EmsSession_I_var other = agent_.logIn(agent_.nms(2));
    std::string mine = keyOfManager(one.in());
    std::string theirs = keyOfManager(other.in());
    std::string crossed = theirs;
    crossed.replace(theirs.size() - kTokenOctets, kTokenOctets, mine, mine.size() - kTokenOctets);
    EXPECT_FALSE(isServed(crossed));
    mine = keyOfIterator(agent_.nms(1));
    theirs = keyOfIterator(agent_.nms(2));
    EXPECT_TRUE(isServed(mine));
    EXPECT_TRUE(isServed(theirs));
    crossed = theirs;
    crossed.replace(theirs.size() - kTokenOctets, kTokenOctets, mine, mine.size() - kTokenOctets);
    EXPECT_FALSE(isServed(crossed));
    one->endSession();
    other->endSession();
    EXPECT_TRUE(waitUntil([&] { return alive_ == 0; }));
}

TEST_F(References, OfASessionThatIsOverAreOfNoUseInTheNextOfItsName) {
    const emsSession::EmsSession_I_var before = agent_.logIn(agent_.nms());
    const std::string session1 = keyOf(before.in());
    const std::string manager1 = keyOfManager(before.in());
    before->endSession();
    const emsSession::EmsSession_I_var after = agent_.logIn(agent_.nms());
    const std::string session2 = keyOf(after.in());
    const std::string manager2 = keyOfManager(after.in());
    ASSERT_EQ(session1.size(), session2.size());
    // the new key with the old token, as if the POA's part of the key could be guessed
    const auto withTokenOf = [](std::string key, const std::string& old) {
        return key.replace(key.size() - kTokenOctets, kTokenOctets, old, old.size() - kTokenOctets);
    };
    EXPECT_FALSE(isServed(manager1));
    EXPECT_FALSE(isServed(withTokenOf(manager2, manager1)));
    EXPECT_THROW(session(session1)->ping(), CORBA::OBJECT_NOT_EXIST);
    EXPECT_THROW(session(withTokenOf(session2, session1))->ping(), CORBA::OBJECT_NOT_EXIST);
    EXPECT_TRUE(isServed(manager2));
    session(session2)->ping();
}

TEST_F(References, ToASessionAndItsIteratorsHaveNoIdsThatAreCounted) {
    std::set<std::string> tokens;
    for (unsigned index = 1; index <= 20; ++index) {
        const emsSession::EmsSession_I_var one = agent_.logIn(agent_.nms(index));
        const std::string key = keyOf(one.in());
        tokens.insert(key.substr(key.size() - kTokenOctets));
        for (std::size_t at = key.size() - 4; at < key.size(); ++at) {
            std::string other = key;
            other[at] = static_cast<char>(other[at] + 1);
            session(other)->endSession();  // oneway
            EXPECT_THROW(session(other)->ping(), CORBA::OBJECT_NOT_EXIST);
        }
        session(key)->ping();
    }
    EXPECT_EQ(tokens.size(), 20u);
}

TEST_F(References, CannotBeFoundByGuessing) {
    const emsSession::EmsSession_I_var own = agent_.logIn(agent_.nms());
    const std::string good = keyOf(own.in());
    const std::string manager = keyOfManager(own.in());
    const std::string iterator = keyOfIterator(agent_.nms());
    RawLocator locator(agent_.port());
    for (const std::string& key : {good, manager, iterator})
        EXPECT_EQ(locator.locate(key), LocateStatus::ObjectHere);
    // everything but the token is known, because it also occurs in the caller's own references
    std::vector<std::string> guesses;
    for (const std::string& key : {good, manager, iterator}) {
        const std::string known = key.substr(0, key.size() - kTokenOctets);
        guesses.push_back(known);
        for (unsigned number = 0; number < 2000; ++number) {
            std::string token(kTokenOctets, '\0');
            token[number % kTokenOctets] = static_cast<char>(number >> 4);
            guesses.push_back(known + token);
            guesses.push_back(known + std::string{'\0', '\0', static_cast<char>(number >> 8),
                                                  static_cast<char>(number)});
        }
    }
    for (std::size_t at = 0; at < guesses.size(); at += 500) {
        const std::vector<std::string> some(
            guesses.begin() + static_cast<std::ptrdiff_t>(at),
            guesses.begin() + static_cast<std::ptrdiff_t>(std::min(at + 500, guesses.size())));
        EXPECT_THAT(locator.locateAll(some), testing::Each(LocateStatus::UnknownObject));
    }
    own->endSession();
    EXPECT_TRUE(waitUntil([&] { return alive_ == 0; }));
}

TEST_F(References, DoNotAppearInTheOperationLog) {
    const TemporaryDirectory folder;
    agent_.configure(AgentOptions{.tables = OpenLogs::toml(folder)});
    const OpenLogs logs(folder);
    const emsSession::EmsSession_I_var own = agent_.logIn(agent_.nms());
    const std::string good = keyOf(own.in());
    const std::string manager = keyOfManager(own.in());
    const std::string bare = manager.substr(0, manager.size() - kTokenOctets);
    EXPECT_TRUE(isServed(manager));
    // a guess, and the complete secret with additional octets
    EXPECT_FALSE(isServed(bare + std::string(kTokenOctets, 'x')));
    EXPECT_FALSE(isServed(bare));
    EXPECT_FALSE(isServed(manager + std::string(kTokenOctets, 'x')));
    std::string wrong = good;
    wrong.back() = wrong.back() == 'x' ? 'y' : 'x';  // the secret may end with an x
    EXPECT_THROW(session(wrong)->ping(), CORBA::OBJECT_NOT_EXIST);
    // a request with the right secret for an object that does not exist
    EXPECT_FALSE(isServed(bare.substr(0, bare.size() - 3) + "other" + manager.substr(bare.size())));

    const std::vector<LogEntry> records = logs.operations();
    ASSERT_THAT(records, testing::SizeIs(6));
    EXPECT_EQ(records[0].object, "EMS");
    EXPECT_EQ(records[0].user, "admin");
    EXPECT_EQ(records[0].nmsAddress, agent_.nms().hostInfo());
    for (std::size_t i = 1; i < 5; ++i) {
        EXPECT_EQ(records[i].outcome, "OBJECT_NOT_EXIST") << i;
        EXPECT_EQ(records[i].object, "") << i;
        EXPECT_EQ(records[i].user, "") << i;
        EXPECT_EQ(records[i].nmsAddress, "") << i;
        EXPECT_THAT(records[i].peer, testing::StartsWith("127.0.0.1:")) << i;
    }
    EXPECT_EQ(records[5].object, "other");
    EXPECT_EQ(records[5].user, "admin");
}

}  // namespace
