#include <cos/CosNaming.h>
#include <gtest/gtest.h>
#include <kelp/nms/client.h>
#include <signal.h>

#include <algorithm>

#include "harness/name_server.h"
#include "kelpnms_fixture.h"
#include "support/standard_managers.h"
#include "support/throw_away_certificates.h"

namespace kelp::test {
namespace {

using Kelpnms = KelpnmsTest;

TEST_F(Kelpnms, FindShowsPathAddressAndVersion) {
    startHost();
    EXPECT_EQ(run({"--json", "find"}, false), 0);
    EXPECT_EQ(answer()["path"],
              "TMF_MTNM.Class/Kelp.Vendor/Kelp\\/EMS.EmsInstance/3_5.Version/"
              "Kelp\\/EMS.EmsSessionFactory_I");
    EXPECT_EQ(answer()["address"], host_.address());
    EXPECT_EQ(answer()["version"], "3.5");
}

TEST_F(Kelpnms, ManagersAreListedAndTheSessionIsEnded) {
    startHost();
    EXPECT_EQ(run({"managers"}), 0);
    EXPECT_TRUE(log_.contains(standardManagersText("", "\n"))) << output();
    EXPECT_TRUE(allSessionsGone());
    EXPECT_EQ(run({"managers", "--json"}), 0);
    EXPECT_EQ(answer()["managers"], Json(standardManagers()));
}

TEST_F(Kelpnms, EmsShowsNameAndCapabilities) {
    startHost();
    EXPECT_EQ(run({"ems", "--json", "--capabilities"}), 0);
    EXPECT_EQ(answer()["name"], Json::parse(R"([{"name": "EMS", "value": "Kelp/EMS"}])"));
    const Json supported = {{"name", "emsMgr::EMSMgr_I::getEMS"}, {"value", "Supported"}};
    const Json all = answer()["capabilities"];
    EXPECT_NE(std::find(all.begin(), all.end(), supported), all.end()) << all;
}

TEST_F(Kelpnms, PingAnswersAsOftenAsAsked) {
    startHost();
    EXPECT_EQ(run({"ping", "--count", "3"}), 0);
    EXPECT_EQ(log_.count("answered after"), 3u) << output();
}

TEST_F(Kelpnms, RefusedLogInShowsTypeAndReason) {
    startHost();
    writeFile(scratch_ / "wrong", "wrong\n");
    EXPECT_EQ(run({"--user", "demo", "--password-file", (scratch_ / "wrong").string(), "managers"},
                  false),
              4);
    EXPECT_TRUE(log_.contains("EXCPT_ACCESS_DENIED")) << output();
    EXPECT_TRUE(log_.contains("The user name or the password is wrong")) << output();
}

TEST_F(Kelpnms, FailedCallShowsTheExceptionAndEndsTheSession) {
    startHost();
    ChildProcess ping(launch({"--timeout", "0.5", "ping", "--count", "1000000"}));
    ASSERT_TRUE(log_.waitFor("ping 1: answered"));
    host_.process().freeze();
    EXPECT_EQ(ping.waitExit(), 5);
    host_.process().thaw();
    EXPECT_TRUE(log_.contains("kelpnms: ping: TIMEOUT")) << output();
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(Kelpnms, FactoryByReferenceNeedsNoNamingService) {
    startHost();
    writeFile(scratch_ / "factory.ior", host_.factoryReference() + "\n");
    EXPECT_EQ(run({"--ior", (scratch_ / "factory.ior").string(), "--json", "find"}, false), 0);
    EXPECT_EQ(answer()["version"], "3.5");
}

TEST_F(Kelpnms, SeveralFactoriesAreListedAndOneCanBeChosen) {
    NameServer service;  // one in which others may bind, too
    host_.useNamingService(service.port());
    startHost();
    const std::string naming =
        "corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(host_.namingPort()) + "/NameService";
    nms::NmsSettings settings;
    settings.naming = naming;
    settings.timeout = std::chrono::seconds(10);
    nms::NmsClient client(settings);
    const nms::FoundFactory first = client.findFactory();
    const CORBA::Object_var object = client.orb()->string_to_object(naming.c_str());
    const CosNaming::NamingContext_var root = CosNaming::NamingContext::_narrow(object.in());
    CosNaming::Name name;
    name.length(1);
    name[0].id = CORBA::string_dup("other");
    name[0].kind = CORBA::string_dup("EmsSessionFactory_I");
    const CORBA::Object_var other = client.orb()->string_to_object(
        ("corbaloc:iiop:1.2@" + host_.address() + "/EmsSessionFactory_I").c_str());
    root->bind(name, other.in());

    EXPECT_EQ(run({"find"}, false), 3);
    EXPECT_TRUE(log_.contains(first.path)) << output();
    EXPECT_TRUE(log_.contains("other.EmsSessionFactory_I")) << output();
    EXPECT_EQ(run({"--factory", "other.EmsSessionFactory_I", "find"}, false), 0) << output();
    EXPECT_EQ(run({"--factory", "absent.EmsSessionFactory_I", "find"}, false), 3);
    EXPECT_TRUE(
        log_.contains("nothing is bound in the naming service under absent.EmsSessionFactory_I"));
}

TEST_F(Kelpnms, FactoryIsFoundThatTheAgentHasRegisteredOverTls) {
    const ThrowAwayCertificates certificates;
    const PortLease tlsPort;
    const PortLease namingTlsPort;
    host_.set("tls", "mode", 1).set("tls", "listen", quoted(tlsPort.hostAndPort()));
    host_.set("tls", "ca", quoted(certificates.authority()))
        .set("tls", "certificate", quoted(certificates.issue("ems")));
    host_.set("naming", "ssl_port", namingTlsPort.port());
    startHost();
    EXPECT_EQ(run({"managers"}), 0);
    EXPECT_TRUE(log_.contains(standardManagersText("", "\n"))) << output();
}

TEST_F(Kelpnms, ManagersThatAreNotOfferedAreNotListed) {
    host_.set("managers", "offered", "['EMS', 'FlowDomain']");
    startHost();
    EXPECT_EQ(run({"managers", "--json"}), 0);
    EXPECT_EQ(answer()["managers"], Json::array({"EMS", "FlowDomain"}));
    EXPECT_EQ(run({"elements"}), 7) << output();
}

TEST_F(Kelpnms, FactoryThatIsNotRegisteredYetIsWaitedFor) {
    const NameServer names;
    host_.addUser("demo");
    host_.useNamingService(names.port());
    EXPECT_EQ(run({"--timeout", "1", "managers"}), 3);
    EXPECT_TRUE(log_.contains("no session factory is registered")) << output();
    EXPECT_EQ(run({"find"}, false), 3) << "it says what is there now: " << output();
    ChildProcess nms(launch({"--verbose", "--timeout", "60", "managers"}));
    ASSERT_TRUE(log_.waitFor("waiting for it")) << output();
    host_.start();
    EXPECT_EQ(nms.waitExit(), 0) << output();
    EXPECT_TRUE(log_.contains("GuiCutThrough")) << output();
}

TEST_F(Kelpnms, WatchShowsPingsUntilTheCountIsReached) {
    startHost();
    EXPECT_EQ(run({"watch", "--count", "2"}), 0);
    EXPECT_EQ(log_.count("  ping\n"), 2u) << output();
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(Kelpnms, WatchLeavesWhenItsTimeIsOver) {
    startHost();
    EXPECT_EQ(run({"watch", "--for", "0.2"}), 0);
    EXPECT_EQ(run({"watch", "--for", "0.2", "--count", "1000"}), 6);
    EXPECT_TRUE(log_.contains("the time was over before the number of pings")) << output();
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(Kelpnms, WatchThatIsStoppedLogsOut) {
    startHost();
    ChildProcess watch(launch({"-v", "watch"}));
    ASSERT_TRUE(log_.waitFor("  ping"));
    watch.signal(SIGINT);
    EXPECT_EQ(watch.waitExit(), 0);
    EXPECT_TRUE(log_.contains("logged out")) << output();
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(Kelpnms, WatchEndsWhenTheEmsEndsTheSession) {
    startHost();
    ChildProcess watch(launch({"watch"}));
    ASSERT_TRUE(log_.waitFor("  ping"));
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(watch.waitExit(), 6);
    EXPECT_TRUE(log_.contains("endSession")) << output();
    EXPECT_TRUE(log_.contains("the EMS ended the session")) << output();
}

TEST_F(Kelpnms, EmsThatHasGoneIsNotReachable) {
    startHost();
    writeFile(scratch_ / "factory.ior", host_.factoryReference() + "\n");
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(run({"--ior", (scratch_ / "factory.ior").string(), "managers"}), 3);
    EXPECT_TRUE(log_.contains("log-in at " + host_.address() + " failed: TRANSIENT")) << output();
}

}  // namespace
}  // namespace kelp::test
