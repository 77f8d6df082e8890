#include "local_address.h"

#include <gtest/gtest.h>
#include <kelp/nms/error.h>

#include <tuple>

namespace kelp::nms {
namespace {

TEST(LocalAddress, HostAndPortAreReadFromACorbaloc) {
    const std::tuple<const char*, const char*, const char*> texts[] = {
        {"corbaloc:iiop:10.1.2.3:4801/NameService", "10.1.2.3", "4801"},
        {"corbaloc:iiop:1.2@ems.example.net:4801/NameService", "ems.example.net", "4801"},
        {"corbaloc::names:99/NameService", "names", "99"},
        {"corbaloc:iiop:1.2@[2001:db8::1]:4801/NameService", "2001:db8::1", "4801"},
        {"corbaloc:ssliop:1.2@secure:4843/NameService", "secure", "4843"},
        {"corbaloc:iiop:first:1,iiop:second:2/NameService", "first", "1"},
        {"corbaloc:iiop:names/NameService", "names", "2809"},
    };
    for (const auto& [text, wantedHost, wantedPort] : texts) {
        std::string host;
        std::string port;
        EXPECT_TRUE(namingAddress(text, host, port)) << text;
        EXPECT_EQ(host, wantedHost) << text;
        EXPECT_EQ(port, wantedPort) << text;
    }
}

TEST(LocalAddress, TextsWithoutAHostAreRefused) {
    for (const char* text : {"", "NameService", "corbaloc:", "corbaloc:iiop:/NameService",
                             "corbaname:rir:#a", "IOR:00", "corbaloc:iiop:[::1/NameService"}) {
        std::string host;
        std::string port;
        EXPECT_FALSE(namingAddress(text, host, port)) << text;
    }
}

TEST(LocalAddress, LoopbackIsReachedFromLoopback) {
    EXPECT_EQ(localAddressTowards("127.0.0.1", "4801"), "127.0.0.1");
}

TEST(LocalAddress, UnknownHostIsNamed) {
    try {
        localAddressTowards("no.such.host.invalid", "4801");
        FAIL() << "an address was found";
    } catch (const NmsError& problem) {
        EXPECT_NE(std::string(problem.what()).find("no.such.host.invalid"), std::string::npos);
    }
}

TEST(ProcessingFailure, ExceptionIsDescribedByTypeAndReason) {
    globaldefs::ProcessingFailureException raised;
    raised.exceptionType = globaldefs::EXCPT_ACCESS_DENIED;
    raised.errorReason = CORBA::string_dup("no entry");
    const LoginRefused refused("log-in", raised);
    EXPECT_STREQ(refused.what(), "log-in: EXCPT_ACCESS_DENIED, reason \"no entry\"");
    EXPECT_EQ(refused.exceptionName(), "EXCPT_ACCESS_DENIED");
    EXPECT_EQ(refused.errorReason(), "no entry");
}

TEST(ProcessingFailure, ExceptionTypesHaveTheStandardsNames) {
    EXPECT_EQ(exceptionTypeName(globaldefs::EXCPT_NOT_IMPLEMENTED), "EXCPT_NOT_IMPLEMENTED");
    EXPECT_EQ(exceptionTypeName(globaldefs::EXCPT_TP_INVALID_ENDPOINT),
              "EXCPT_TP_INVALID_ENDPOINT");
    EXPECT_EQ(exceptionTypeName(globaldefs::EXCPT_USERLABEL_IN_USE), "EXCPT_USERLABEL_IN_USE");
}

}  // namespace
}  // namespace kelp::nms
