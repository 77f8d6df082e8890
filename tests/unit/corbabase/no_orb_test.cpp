#include <gtest/gtest.h>
#include <kelp/corbabase/agent_server.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/ior_parser.h>
#include <kelp/corbabase/persistent_poa.h>
#include <kelp/corbabase/session_name.h>
#include <kelp/corbabase/supplier_mgr.h>

#include "support/trace_capture.h"

using NS_CORBA::AgentServer;
using NS_CORBA::CorbaBaseAgentConfig;

namespace {

class CallBack : public NS_CORBA::CallBackProcessBase {
  public:
    void OnEventLossCleared(const std::string&) override {}
    void OnEventLossOccurred(const std::string&, const std::string&) override {}
    void FormatAlarmLog(std::stringstream&, const CosNotification::StructuredEvent&) override {}
    void SendHeartbeat() override {}
};

TEST(WithoutOrb, TheAgentServersOperationsAreHarmless) {
    EXPECT_EQ(AgentServer::AgentWorker(nullptr), nullptr);
    EXPECT_EQ(AgentServer::Activate(), -1);
    AgentServer::Discard();
    AgentServer::ShutDown();
    AgentServer::ShutDown();
    AgentServer::Destroy();
    AgentServer::Destroy();
}

TEST(WithoutOrb, AskingForItIsBadInvOrder) {
    EXPECT_THROW(CorbaBaseAgentConfig::Instance()->GetOrb(), CORBA::BAD_INV_ORDER);
    EXPECT_THROW(CorbaBaseAgentConfig::Instance()->GetRootPoa(), CORBA::BAD_INV_ORDER);
}

TEST(WithoutOrb, RegisteringAndUnregisteringTheFactoryThrowNothing) {
    const kelp::test::TraceCapture capture;
    EXPECT_FALSE(CorbaBaseAgentConfig::Instance()->RegistEMSFactoryName(CORBA::Object::_nil()));
    EXPECT_TRUE(capture.contains(
        "[CorbaBaseAgentConfig::RegistEMSFactoryName] Could not bind the factory!"));
    CorbaBaseAgentConfig::Instance()->UnRegistEMSFactoryName();
}

TEST(WithoutOrb, TimeOutPoliciesAreRefused) {
    EXPECT_FALSE(CorbaBaseAgentConfig::Instance()->SetCurrentThreadTimeOutPolicy(CORBA::ORB::_nil(),
                                                                                 10000000));
    EXPECT_FALSE(
        CorbaBaseAgentConfig::Instance()->SetORBTimeOutPolicy(CORBA::ORB::_nil(), 10000000));
}

TEST(WithoutOrb, ThereIsNoSessionNameAndNoHostInfo) {
    EXPECT_EQ(NS_CORBA::TEUserHelper::GetNmsIPAddrByContext(), "");
    NS_CORBA::IOR_Parser parser;
    std::string hostInfo = "unchanged";
    EXPECT_FALSE(parser.GetHostInfo(CORBA::Object::_nil(), hostInfo));
    EXPECT_FALSE(parser.GetIPAndPortInfo(hostInfo));
    EXPECT_EQ(hostInfo, "unchanged");
}

TEST(WithoutOrb, PersistentReferencesOfNilAreNil) {
    EXPECT_THROW(NS_CORBA::get_persistent_poa(PortableServer::POA::_nil(), "V4800"),
                 CORBA::BAD_PARAM);
    const CORBA::Object_var none =
        NS_CORBA::get_persistent_ref(PortableServer::POA::_nil(), nullptr, "EMSSessionFactory");
    EXPECT_TRUE(CORBA::is_nil(none.in()));
}

TEST(SuppilerMgr, KeepsTheCallBackUntilItIsTakenOut) {
    NS_CORBA::SuppilerMgr::Destroy();
    NS_CORBA::SuppilerMgr& manager = *NS_CORBA::SuppilerMgr::Instance();
    CallBack callBack;
    EXPECT_EQ(manager.GetCallBack(), nullptr);
    manager.SetCallBack(&callBack);
    EXPECT_EQ(manager.GetCallBack(), &callBack);
    manager.SetCallBack(nullptr);
    EXPECT_EQ(manager.GetCallBack(), nullptr);
    manager.check_channel_valid();
    manager.ExitThread();
    NS_CORBA::SuppilerMgr::Destroy();
}

TEST(SuppilerMgr, StartsInTheConfiguredModeAlone) {
    const kelp::test::TraceCapture capture;
    EXPECT_EQ(NS_CORBA::SuppilerMgr::Instance()->Start(0), -1);
    EXPECT_TRUE(capture.contains("[SuppilerMgr::Start] There is no ORB!"));
    EXPECT_EQ(NS_CORBA::SuppilerMgr::Instance()->Start(7), -1);
    EXPECT_TRUE(capture.contains("[SuppilerMgr::Start] Unknown delivery mode 7!"));
}

TEST(EventMgr, HasNoChannelUntilOneIsSet) {
    const CosNotifyChannelAdmin::EventChannel_var none =
        NS_CORBA::EventMgr::Instance()->GetEventChannel();
    EXPECT_TRUE(CORBA::is_nil(none.in()));
    NS_CORBA::EventMgr::Instance()->SetEventChannel(CosNotifyChannelAdmin::EventChannel::_nil());
    NS_CORBA::EventMgr::Destroy();
    NS_CORBA::EventMgr::Destroy();
}

}  // namespace
