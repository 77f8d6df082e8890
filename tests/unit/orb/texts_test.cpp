#include <gtest/gtest.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/references.h>

namespace {

using kelp::orb::exceptionText;
using kelp::orb::hostAndPort;

TEST(HostAndPort, JoinsNamesAndIpv4Addresses) {
    EXPECT_EQ(hostAndPort({"127.0.0.1", 4800, false}), "127.0.0.1:4800");
    EXPECT_EQ(hostAndPort({"ems.example", 65535, true}), "ems.example:65535");
}

TEST(HostAndPort, PutsIpv6AddressesInBrackets) {
    EXPECT_EQ(hostAndPort({"::1", 4800, false}), "[::1]:4800");
    EXPECT_EQ(hostAndPort({"[::1]", 4800, false}), "[::1]:4800");
}

TEST(ExceptionText, NamesMinorCodeAndCompletionOfASystemException) {
    EXPECT_EQ(exceptionText(CORBA::TRANSIENT(0x41540002, CORBA::COMPLETED_NO)),
              "TRANSIENT (minor 0x41540002, completed NO)");
    EXPECT_EQ(exceptionText(CORBA::COMM_FAILURE(0, CORBA::COMPLETED_MAYBE)),
              "COMM_FAILURE (minor 0x0, completed MAYBE)");
    EXPECT_EQ(exceptionText(CORBA::NO_PERMISSION(0xffffffff, CORBA::COMPLETED_YES)),
              "NO_PERMISSION (minor 0xffffffff, completed YES)");
}

TEST(ExceptionText, NamesAUserException) {
    EXPECT_EQ(exceptionText(PortableServer::POA::AdapterNonExistent()), "AdapterNonExistent");
}

}  // namespace
