// The module as a host sees it: a shared object with one factory function.

#include <ace/Init_ACE.h>
#include <ace/Log_Msg.h>
#include <cos/CosNaming.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kelp/appmgr/task_mgr.h>
#include <kelp/bundlemgr/bundle_mgr.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/corbabase/base_config.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <future>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "bundle_doubles.h"
#include "corbaenv/corba_env_module.h"
#include "faulty_platform.h"
#include "support/omninames.h"
#include "support/tcp_peers.h"
#include "support/test_manager.h"
#include "support/trace_capture.h"

namespace kelp::test {
namespace {

using NS_BUNDLEMGR1::BundleMgr;
using NS_BUNDLEMGR1::ServiceObjectBase;

const std::filesystem::path kModule = KELP_AGENT_MODULE;

/// The loaded module and its factory function.
class Module {
  public:
    using Factory = ACE_Service_Object* (*)(ACE_Service_Object_Exterminator*);

    Module() : handle_(::dlopen(kModule.c_str(), RTLD_NOW)) {
        if (handle_ == nullptr)
            throw std::runtime_error(::dlerror());
        factory_ = reinterpret_cast<Factory>(::dlsym(handle_, "_make_mx_kelpcorba_env"));
        if (factory_ == nullptr)
            throw std::runtime_error("no factory function");
    }
    ~Module() { ::dlclose(handle_); }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    ACE_Service_Object* make(ACE_Service_Object_Exterminator* deleter) const {
        return factory_(deleter);
    }

    static bool isLoaded() {
        void* const handle = ::dlopen(kModule.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (handle != nullptr)
            ::dlclose(handle);
        return handle != nullptr;
    }

  private:
    void* handle_;
    Factory factory_ = nullptr;
};

/// The module's service object as a host uses it. A manager "EMS" is entered unless a test removes
/// it.
class ModuleObject : public testing::Test {
  protected:
    ModuleObject() {
        base().EnterNorthMgrFactory("EMS", &managerFactory_);
        object_ = dynamic_cast<ServiceObjectBase*>(module_.make(&deleter_));
    }
    ~ModuleObject() override {
        deleter_(object_);
        KelpAppMgr::Instance()->Exit();
        base().LeaveNorthMgrFactory("EMS");
    }
    static NS_CORBA::CorbaBaseAgentConfig& base() {
        return *NS_CORBA::CorbaBaseAgentConfig::Instance();
    }
    static void configure(const std::string& toml) {
        for (const NS_BUNDLEMGR1::ConfigProblem& problem :
             NS_BUNDLEMGR1::ConfigStore::instance().loadText(toml, "test.toml"))
            ADD_FAILURE() << problem.text();
    }
    int init() { return object_->init(0, noArguments_); }

    TemporaryDirectory folder_;
    TestManagerFactory managerFactory_;
    TraceCapture trace_;
    const Module module_;
    ACE_Service_Object_Exterminator deleter_ = nullptr;
    ServiceObjectBase* object_ = nullptr;
    char* noArguments_[1] = {nullptr};
};

TEST_F(ModuleObject, KnowsItsNames) {
    ASSERT_NE(object_, nullptr);
    EXPECT_STREQ(object_->GetName(), "mx_kelpcorba_env");
    EXPECT_EQ(object_->BundleName(), "mx_kelp_corbaagent_bundle");
}

TEST_F(ModuleObject, OffersTheNullInterface) {
    ASSERT_NE(object_->GetInterface(), nullptr);
    EXPECT_STREQ(object_->GetInterface()->GetInterfaceName(), "NULLServiceInterface!");
    EXPECT_EQ(object_->GetInterface()->GetInterfaceVersion(), 0);
    EXPECT_EQ(NS_BUNDLEMGR1::CheckIFBuf("NULLServiceInterface"), object_->GetInterface());
}

TEST_F(ModuleObject, ReplacesItsInterfaceByANewOne) {
    NS_BUNDLEMGR1::ServiceInterface* const made = object_->CreateInterface();
    EXPECT_EQ(object_->GetInterface(), made);
    EXPECT_STREQ(made->GetInterfaceName(), "NULLServiceInterface!");
    object_->RemoveInterface();
    EXPECT_EQ(object_->GetInterface(), nullptr);
    EXPECT_EQ(NS_BUNDLEMGR1::CheckIFBuf("NULLServiceInterface"), nullptr);
}

TEST_F(ModuleObject, IsMadeWithoutASlotForTheDeleter) {
    ACE_Service_Object* const made = module_.make(nullptr);
    ASSERT_NE(made, nullptr);
    deleter_(made);
}

TEST_F(ModuleObject, DeletesItsInterfaceWithItself) {
    ACE_Service_Object* const made = module_.make(nullptr);
    EXPECT_NE(NS_BUNDLEMGR1::CheckIFBuf("NULLServiceInterface"), nullptr);
    deleter_(made);
    EXPECT_EQ(NS_BUNDLEMGR1::CheckIFBuf("NULLServiceInterface"), nullptr);
}

TEST_F(ModuleObject, DeleterReportsANullObjectAndReturns) {
    std::ostringstream log;
    ACE_LOG_MSG->msg_ostream(&log, false);
    ACE_LOG_MSG->set_flags(ACE_Log_Msg::OSTREAM);
    ACE_LOG_MSG->clr_flags(ACE_Log_Msg::STDERR);
    deleter_(nullptr);
    ACE_LOG_MSG->clr_flags(ACE_Log_Msg::OSTREAM);
    EXPECT_NE(log.str().find("assertion failed for '_p != 0'"), std::string::npos) << log.str();
    EXPECT_NE(log.str().find("corbaenvmodule"), std::string::npos) << log.str();
}

TEST_F(ModuleObject, StartsTheAgentAndHandsOverItsTaskManager) {
    configure(agentConfiguration(folder_, freePort()));
    ASSERT_EQ(init(), 0);
    const KelpTaskMgr* const taskMgr = KelpAppMgr::Instance()->Find(21);
    ASSERT_NE(taskMgr, nullptr);
    EXPECT_NE(dynamic_cast<const KelpGnlTaskMgr*>(taskMgr), nullptr);
    EXPECT_NO_THROW(CORBA::release(base().GetOrb()));
    object_->Shutdown();
    EXPECT_THROW(base().GetOrb(), CORBA::BAD_INV_ORDER);
    EXPECT_EQ(object_->fini(), 0);
}

TEST_F(ModuleObject, WithoutAnAgentFailsAndFiniStillReturnsZero) {
    configure(agentConfiguration(folder_, freePort()));
    base().LeaveNorthMgrFactory("EMS");
    base().EnterNorthMgrFactory("EMS", nullptr);
    EXPECT_EQ(init(), -1);
    EXPECT_EQ(trace_.count("in [mx_kelpcorba_env::init] CorbaAgentFacade Init failed!"), 1u);
    EXPECT_EQ(KelpAppMgr::Instance()->Find(21), nullptr);
    EXPECT_FALSE(kelp::util::TraceLog::instance().isOpen());
    EXPECT_THROW(base().GetOrb(), CORBA::BAD_INV_ORDER);
    EXPECT_EQ(object_->fini(), 0);
}

TEST_F(ModuleObject, WithoutATraceFailsBeforeTheAgentStarts) {
    configure(agentConfiguration(folder_, freePort()) + "[trace]\nsinks = [\"file\"]\nfile = \"" +
              folder_.path().string() + "\"\n");
    EXPECT_EQ(init(), -1);
    EXPECT_EQ(trace_.count("in [mx_kelpcorba_env::init] CorbaLogMgr Init failed!"), 1u);
    EXPECT_FALSE(trace_.contains("Corba Agent is starting"));
    EXPECT_EQ(object_->fini(), 0);
}

TEST_F(ModuleObject, StopsTheAgentBeforeTheTrace) {
    configure(agentConfiguration(folder_, freePort()));
    ASSERT_EQ(init(), 0);
    EXPECT_TRUE(kelp::util::TraceLog::instance().isOpen());
    object_->Shutdown();
    EXPECT_FALSE(kelp::util::TraceLog::instance().isOpen());
    EXPECT_TRUE(trace_.contains("===[CorbaAgentFacade::Fini] Finish to destroy Corba Agent! ==="));
}

/// Look up the name through an ORB of this process's agent.
bool isFactoryBound(const OmniNames& names) {
    NS_CORBA::CorbaBaseAgentConfig& base = *NS_CORBA::CorbaBaseAgentConfig::Instance();
    const CORBA::ORB_var orb = base.GetOrb();
    const CORBA::Object_var object = orb->string_to_object(names.corbaloc().c_str());
    const CosNaming::NamingContext_var root = CosNaming::NamingContext::_narrow(object.in());
    CosNaming::Name name;
    base.ConstructEmsFactoryName(name);
    try {
        const CORBA::Object_var factory = root->resolve(name);
        return !CORBA::is_nil(factory.in());
    } catch (const CosNaming::NamingContext::NotFound&) {
        return false;
    }
}

TEST(ModuleInAHost, IsStartedStoppedUnloadedAndStartedAgain) {
    const TemporaryDirectory folder;
    const OmniNames names;
    TestManagerFactory managers;
    NS_CORBA::CorbaBaseAgentConfig::Instance()->EnterNorthMgrFactory("EMS", &managers);
    NS_BUNDLEMGR1::ConfigStore::instance().loadText(agentConfiguration(folder, names.port()),
                                                    "test.toml");
    for (int load = 0; load < 2; ++load) {
        std::string whyNot;
        ASSERT_TRUE(
            BundleMgr::Instance()->Start(kModule.parent_path(), {"mx_kelpcorba_env"}, whyNot))
            << whyNot;
        EXPECT_TRUE(waitUntil([&] { return isFactoryBound(names); }));
        BundleMgr::Instance()->Stop();
        EXPECT_FALSE(Module::isLoaded());
    }
    NS_CORBA::CorbaBaseAgentConfig::Instance()->LeaveNorthMgrFactory("EMS");
    KelpAppMgr::Instance()->Exit();
}

TEST(ModuleInAHost, StaysLoadedForAThreadThatTheStopAbandoned) {
    const TemporaryDirectory folder;
    TestManagerFactory managers;
    NS_CORBA::CorbaBaseAgentConfig::Instance()->EnterNorthMgrFactory("EMS", &managers);
    NS_BUNDLEMGR1::ConfigStore::instance().loadText(agentConfiguration(folder, freePort()),
                                                    "test.toml");
    std::promise<void> reached;
    std::promise<void> release;
    std::atomic<bool> isFirst{true};
    PlatformFaults::onGetSslMode = [&, host = std::this_thread::get_id()] {
        if (std::this_thread::get_id() == host || !isFirst.exchange(false))
            return;
        reached.set_value();
        release.get_future().wait();
    };
    TraceCapture trace;
    std::string whyNot;
    ASSERT_TRUE(BundleMgr::Instance()->Start(kModule.parent_path(), {"mx_kelpcorba_env"}, whyNot))
        << whyNot;
    reached.get_future().wait();
    BundleMgr::Instance()->Stop();
    EXPECT_TRUE(Module::isLoaded());
    release.set_value();
    EXPECT_TRUE(
        trace.waitFor("[Monitor Thread] system exception occured! error reason:BAD_INV_ORDER"));
    NS_CORBA::CorbaBaseAgentConfig::Instance()->LeaveNorthMgrFactory("EMS");
    KelpAppMgr::Instance()->Exit();
}

TEST(ModuleInAHost, ThatFailedToStartIsUnloaded) {
    const TemporaryDirectory folder;
    NS_CORBA::CorbaBaseAgentConfig::Instance()->EnterNorthMgrFactory("EMS", nullptr);
    NS_BUNDLEMGR1::ConfigStore::instance().loadText(agentConfiguration(folder, freePort()),
                                                    "test.toml");
    std::string whyNot;
    EXPECT_FALSE(BundleMgr::Instance()->Start(kModule.parent_path(), {"mx_kelpcorba_env"}, whyNot));
    EXPECT_NE(whyNot.find("mx_kelpcorba_env"), std::string::npos) << whyNot;
    EXPECT_FALSE(Module::isLoaded());
}

/// Return the position of a virtual operation in the primary virtual table, read from a pointer to
/// member in the C++ ABI.
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
    std::ptrdiff_t offset = 0;
    static_assert(sizeof operation >= sizeof offset);
    std::memcpy(&offset, &operation, sizeof offset);
    return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(ModuleObjectTable, HasItsOperationsInTheHostsOrder) {
    using NS_KELPCORBA::mx_kelpcorba_env;
    const std::ptrdiff_t first = slotOf(&ACE_Service_Object::suspend);
    EXPECT_EQ(slotOf(&ACE_Service_Object::resume), first + 1);
    EXPECT_EQ(slotOf(&mx_kelpcorba_env::UnRegistSvc), first + 2);
    EXPECT_EQ(slotOf(&mx_kelpcorba_env::GetName), first + 3);
    EXPECT_EQ(slotOf(&mx_kelpcorba_env::Shutdown), first + 4);
    EXPECT_EQ(slotOf(&mx_kelpcorba_env::GetInterface), first + 5);
    EXPECT_EQ(slotOf(&mx_kelpcorba_env::CreateInterface), first + 6);
    EXPECT_EQ(slotOf(&mx_kelpcorba_env::RemoveInterface), first + 7);
    EXPECT_EQ(slotOf(&mx_kelpcorba_env::fini), first + 8);
    EXPECT_EQ(slotOf(&mx_kelpcorba_env::init), first + 9);
}

}  // namespace
}  // namespace kelp::test
