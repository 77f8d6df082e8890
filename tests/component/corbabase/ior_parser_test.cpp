#include <gtest/gtest.h>
#include <kelp/corbabase/ior_parser.h>

#include "base_orb.h"

using kelp::test::base;
using kelp::test::BaseOrb;
using NS_CORBA::IOR_Parser;

namespace {

class IorParser : public testing::Test {
  protected:
    CORBA::Object_ptr reference(const std::string& text) {
        const CORBA::ORB_var itsOrb = base().GetOrb();
        return kelp::orb::toReference(itsOrb.in(), text);
    }
    std::string hostInfoOf(const std::string& text) {
        const CORBA::Object_var object = reference(text);
        std::string hostInfo;
        EXPECT_TRUE(parser.GetHostInfo(object.in(), hostInfo)) << text;
        return hostInfo;
    }

    BaseOrb orb;
    IOR_Parser parser;
};

TEST_F(IorParser, GivesAddressAndPortOfTheReference) {
    EXPECT_EQ(hostInfoOf("corbaloc:iiop:1.2@10.1.2.3:5000/Nms"), "10.1.2.3:5000");
}

TEST_F(IorParser, PutsAnIpv6AddressInBrackets) {
    EXPECT_EQ(hostInfoOf("corbaloc:iiop:1.2@[2001:db8::7]:5000/Nms"), "[2001:db8::7]:5000");
}

TEST_F(IorParser, GivesTheTlsPortOfAReferenceWithoutAPlainOne) {
    EXPECT_EQ(hostInfoOf("corbaloc:ssliop:1.2@10.1.2.3:5001/Nms"), "10.1.2.3:5001");
}

TEST_F(IorParser, TakesTheFirstOfSeveralAddresses) {
    EXPECT_EQ(hostInfoOf("corbaloc:iiop:1.2@10.1.2.3:5000,iiop:1.2@10.1.2.4:5000/Nms"),
              "10.1.2.3:5000");
}

TEST_F(IorParser, RemembersTheLastOne) {
    std::string hostInfo = "unchanged";
    EXPECT_FALSE(parser.GetIPAndPortInfo(hostInfo));
    hostInfoOf("corbaloc:iiop:1.2@10.1.2.3:5000/Nms");
    const CORBA::Object_var nil;
    EXPECT_FALSE(parser.GetHostInfo(nil.in(), hostInfo));
    EXPECT_EQ(hostInfo, "unchanged");
    EXPECT_TRUE(parser.GetIPAndPortInfo(hostInfo));
    EXPECT_EQ(hostInfo, "10.1.2.3:5000");
}

}  // namespace
