#include <gtest/gtest.h>

#include "session_object.h"

namespace {

using namespace kelp::test;
using kelp::orb::describe;
using kelp::orb::ReferenceContent;
using kelp::orb::toReference;

class References : public testing::Test {
  protected:
    RunningOrb orb_;
    ReferenceContent content_;
};

TEST_F(References, AreDescribedByTypeAddressAndKey) {
    SessionObject session(orb_);
    ASSERT_TRUE(describe(orb_.orb(), session.inProcess(), content_));
    EXPECT_EQ(content_.typeId, "IDL:mtnm.tmforum.org/nmsSession/NmsSession_I:1.0");
    ASSERT_EQ(content_.endpoints.size(), 1U);
    EXPECT_EQ(kelp::orb::hostAndPort(content_.endpoints[0]), orb_.hostAndPort());
    EXPECT_FALSE(content_.endpoints[0].tls);
    EXPECT_FALSE(content_.objectKey.empty());
}

TEST_F(References, MadeFromACorbalocTextAreDescribedWithoutACall) {
    const CORBA::Object_var object =
        toReference(orb_.orb(), "corbaloc:iiop:1.2@192.0.2.1:4800,iiop:1.2@ems.example:4801/Key");
    ASSERT_TRUE(describe(orb_.orb(), object.in(), content_));
    ASSERT_EQ(content_.endpoints.size(), 2U);
    EXPECT_EQ(kelp::orb::hostAndPort(content_.endpoints[0]), "192.0.2.1:4800");
    EXPECT_EQ(kelp::orb::hostAndPort(content_.endpoints[1]), "ems.example:4801");
    EXPECT_EQ(content_.objectKey, "Key");
}

TEST_F(References, ThatAreNilHaveNoDescription) {
    content_.typeId = "left over";
    EXPECT_FALSE(describe(orb_.orb(), CORBA::Object::_nil(), content_));
    EXPECT_EQ(content_.typeId, "");
    EXPECT_FALSE(describe(CORBA::ORB::_nil(), CORBA::Object::_nil(), content_));
}

TEST_F(References, ToLocalObjectsHaveNoDescription) {
    EXPECT_FALSE(describe(orb_.orb(), orb_.root(), content_));
}

TEST_F(References, ComeBackFromTheirText) {
    SessionObject session(orb_);
    const CORBA::String_var text = orb_.orb()->object_to_string(session.inProcess());
    const CORBA::Object_var object = toReference(orb_.orb(), text.in());
    EXPECT_TRUE(object->_is_equivalent(session.inProcess()));
}

TEST_F(References, AreNeverMadeFromUnreadableText) {
    for (const char* text : {"", "nonsense", "http://127.0.0.1/", "IOR:", "IOR:00", "IOR:zz",
                             "corbaloc:", "corbaloc:iiop:1.2@127.0.0.1:99999999/Key",
                             "corbaloc:nosuch:1.2@127.0.0.1:1/Key"}) {
        EXPECT_THROW(CORBA::release(toReference(orb_.orb(), text)), CORBA::SystemException) << text;
    }
}

TEST_F(References, AreNeverNil) {
    // the text of a nil reference, which is well-formed but has no profiles
    const std::string nil = "IOR:01000000010000000000000000000000";
    EXPECT_THROW(CORBA::release(toReference(orb_.orb(), nil)), CORBA::BAD_PARAM);
}

TEST_F(References, AreNotMadeFromTheFirstHalfOfATextWithAZeroByte) {
    EXPECT_THROW(CORBA::release(toReference(
                     orb_.orb(), std::string("corbaloc:iiop:1.2@127.0.0.1:1/Key\0x", 36))),
                 CORBA::BAD_PARAM);
}

}  // namespace
