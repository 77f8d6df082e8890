#include "access/session_name_parts.h"

#include <gtest/gtest.h>

using NS_CORBA::LastSessionName;
using NS_CORBA::partsOfSessionName;
using NS_CORBA::SessionNameParts;

namespace {

std::string sessionName(const std::string& user, const std::string& nmsAddress) {
    return "<USERNAME_TAG>" + user + "</USERNAME_TAG><IPANDPORT_TAG>" + nmsAddress +
           "</IPANDPORT_TAG>";
}

std::string inWords(const SessionNameParts& parts) {
    return std::string(parts.user) + "@" + std::string(parts.nmsAddress);
}

TEST(SessionNameParts, AreUserAndAddressBetweenTheirTags) {
    const std::string name = sessionName("admin", "192.0.2.1:4800");
    EXPECT_EQ(inWords(partsOfSessionName(name)), "admin@192.0.2.1:4800");
    EXPECT_EQ(inWords(partsOfSessionName(sessionName("", ""))), "@");
}

TEST(SessionNameParts, AreEmptyInANameOfAnotherForm) {
    EXPECT_EQ(inWords(partsOfSessionName("")), "@");
    EXPECT_EQ(inWords(partsOfSessionName("notification")), "@");
    EXPECT_EQ(inWords(partsOfSessionName("<USERNAME_TAG>admin")), "@");
    EXPECT_EQ(inWords(partsOfSessionName("<USERNAME_TAG>admin</USERNAME_TAG>")), "admin@");
}

TEST(LastSessionName, IsNotTakenForAnother) {
    LastSessionName last;
    const std::string one = sessionName("nms1", "192.0.2.1:4800");
    const std::string sameLength = sessionName("nms2", "192.0.2.2:4801");
    EXPECT_EQ(inWords(last.parts(one)), "nms1@192.0.2.1:4800");
    EXPECT_EQ(inWords(last.parts(sameLength)), "nms2@192.0.2.2:4801");
    EXPECT_EQ(inWords(last.parts(one)), "nms1@192.0.2.1:4800");
    EXPECT_EQ(inWords(last.parts("EMS")), "@");
    EXPECT_EQ(inWords(last.parts("")), "@");
    EXPECT_EQ(inWords(last.parts(one)), "nms1@192.0.2.1:4800");
}

TEST(LastSessionName, OutlivesTheTextItWasAskedWith) {
    LastSessionName last;
    std::string name = sessionName("a user whose name needs room of its own", "192.0.2.1:4800");
    const std::string again = name;
    last.parts(name);
    name.assign(name.size(), 'x');
    EXPECT_EQ(inWords(last.parts(again)), "a user whose name needs room of its own@192.0.2.1:4800");
}

}  // namespace
