// The address in an NMS's session object reference, which the EMS calls back.

#include <gmock/gmock.h>
#include <kelp/nms/error.h>

#include "system/audit/audit_fixture.h"
#include "system/audit/nms_group.h"
#include "unit/orb/hand_made_reference.h"

namespace kelp::test {
namespace {

constexpr const char* kElsewhere = "127.0.0.2";
constexpr const char* kInvalidInput = "EXCPT_INVALID_INPUT";

class NmsReference : public AuditTest {
  protected:
    NmsReference() { setAllowed("['127.0.0.1', '127.0.0.2']"); }

    void setRule(const char* rule) { host_.set("access", "nms_reference", quoted(rule)); }
    void setAllowed(const char* networks) { host_.set("access", "allowed_oss", networks); }

    /// Start a host at which NMS 0 is logged in from 127.0.0.1.
    void start() {
        startHost();
        nms_.logIn(0, kUser);
        factory_ = nms_.factoryOver(relay_);
    }
    /// Log NMS 1 in from 127.0.0.2 with this reference. Return the exception's name, or "" on
    /// success.
    std::string logInWith(const std::string& reference) {
        return logIn([&] { nms_[1].logIn(factory_.in(), kUser, Host::kPassword, reference); });
    }
    /// Log NMS 1 in from 127.0.0.1 with this reference.
    std::string logInNearWith(const std::string& reference) {
        return logIn([&] { nms_[1].logIn(nms_.factory(), kUser, Host::kPassword, reference); });
    }
    template <class Calls>
    std::string logIn(Calls calls) {
        try {
            calls();
        } catch (const globaldefs::ProcessingFailureException& refused) {
            return nms::exceptionTypeName(refused.exceptionType);
        }
        return "";
    }
    /// Expect that NMS 0 still has its session.
    void expectOtherNmsUntouched() {
        EXPECT_NO_THROW(nms_[0].session()->ping());
        EXPECT_EQ(nms_[0].listener().counts().ended, 0);
    }
    bool otherNmsHasNoSession() {
        try {
            nms_[0].session()->ping();
        } catch (const CORBA::OBJECT_NOT_EXIST&) {
            return true;
        }
        return false;
    }
    /// Return the reason for which a log-in with this reference is refused, or "" on success.
    std::string reasonFor(const std::string& reference) {
        try {
            nms_[1].logIn(factory_.in(), kUser, Host::kPassword, reference);
        } catch (const globaldefs::ProcessingFailureException& refused) {
            return refused.errorReason.in();
        }
        return "";
    }
    std::size_t refusals() const { return security("login", "reference not allowed").size(); }

    /// Return the profile of NMS 1's own object with its host replaced by `host`.
    Iiop ownAt(const std::string& host) {
        orb::ReferenceContent content;
        EXPECT_TRUE(orb::decodeReference(nms_[1].ownReference(), content));
        Iiop profile;
        profile.host = host;
        profile.port = content.endpoints.at(0).port;
        profile.key = content.objectKey;
        return profile;
    }

    NmsGroup nms_{host_, 2};
    const TcpRelay relay_{host_.port(), kElsewhere};
    emsSessionFactory::EmsSessionFactory_I_var factory_;
};

TEST_F(NmsReference, RefusalNamesTheAddressInTheReference) {
    start();
    Iiop wrong = ownAt("192.0.2.7");
    EXPECT_THAT(reasonFor(ior(wrong)),
                ::testing::HasSubstr(
                    "client names 192.0.2.7:" + std::to_string(wrong.port) +
                    " and calls from 127.0.0.2, which [access] nms_reference does not allow"));
}

TEST_F(NmsReference, NamingAnotherNmsEndsNoneOfItsSessions) {
    start();
    EXPECT_EQ(logInWith(nms_[0].ownReference()), kInvalidInput) << "although the password is right";
    EXPECT_EQ(logInWith(nms_[1].ownReference()), kInvalidInput);
    EXPECT_EQ(logInWith(ior(ownAt("127.0.0.3"))), kInvalidInput);
    EXPECT_EQ(logInWith(ior(ownAt(kElsewhere))), "") << "its own address";
    expectOtherNmsUntouched();

    ASSERT_TRUE(eventually([this] { return refusals() >= 3; }));
    const oplog::LogEntry told = security("login", "reference not allowed").front();
    EXPECT_EQ(told.nmsAddress, nms_.addressOf(0));
    EXPECT_THAT(told.peer, ::testing::StartsWith(std::string(kElsewhere) + ":"));
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(NmsReference, RuleAllowedAcceptsTheAllowedNetworks) {
    setRule("allowed");
    start();
    EXPECT_EQ(logInWith(ior(ownAt("127.0.0.3"))), kInvalidInput);
    EXPECT_EQ(logInWith(nms_[1].ownReference()), "");
    expectOtherNmsUntouched();
    EXPECT_EQ(logInWith(nms_[0].ownReference()), "");
    EXPECT_TRUE(otherNmsHasNoSession()) << "the session of that address is replaced";
}

TEST_F(NmsReference, RuleAnyAcceptsEveryAddress) {
    setRule("any");
    start();
    EXPECT_EQ(logInWith(ior(ownAt("127.0.0.3"))), "");
    EXPECT_EQ(logInWith(ior(ownAt("localhost"))), "");
    expectOtherNmsUntouched();
    EXPECT_EQ(refusals(), 0u);
}

TEST_F(NmsReference, RereadRuleTakesEffectWithoutARestart) {
    start();
    EXPECT_EQ(logInWith(nms_[1].ownReference()), kInvalidInput);
    setRule("any");
    reconfigure();
    EXPECT_EQ(logInWith(nms_[1].ownReference()), "");
    setRule("peer");
    reconfigure();
    EXPECT_EQ(logInWith(nms_[1].ownReference()), kInvalidInput);
    EXPECT_EQ(logInNearWith(nms_[1].ownReference()), "");
}

TEST_F(NmsReference, EveryAddressInItCounts) {
    start();
    Iiop first = ownAt("127.0.0.1");
    const TaggedBytes other = alternateAddress("127.0.0.2", first.port);

    Iiop withAlternate = first;
    withAlternate.components = {other};
    EXPECT_EQ(logInNearWith(ior(withAlternate)), kInvalidInput);

    Iiop second = ownAt("127.0.0.2");
    EXPECT_EQ(logInNearWith(hexReference(
                  referenceBytes({{0, iiopProfile(first)}, {0, iiopProfile(second)}}))),
              kInvalidInput);
    EXPECT_EQ(logInNearWith(hexReference(
                  referenceBytes({{0, iiopProfile(first)}, {1, multipleComponents({other})}}))),
              kInvalidInput)
        << "components of all profiles in one of their own";

    withAlternate.components = {alternateAddress("127.0.0.1", first.port)};
    EXPECT_EQ(logInNearWith(ior(withAlternate)), "");
    expectOtherNmsUntouched();
}

TEST_F(NmsReference, HostNamesAreRefusedUnlessListed) {
    start();
    EXPECT_EQ(logInNearWith(ior(ownAt("localhost"))), kInvalidInput);
    setAllowed("['127.0.0.1', 'localhost']");
    reconfigure();
    EXPECT_EQ(logInNearWith(ior(ownAt("localhost"))), "");
    EXPECT_TRUE(eventually([this] { return nms_[1].listener().counts().pings > 0; }));
    EXPECT_EQ(logInNearWith(ior(ownAt("localhost.example"))), kInvalidInput);
    expectOtherNmsUntouched();
    EXPECT_EQ(host_.stop(), 0);
}

}  // namespace
}  // namespace kelp::test
