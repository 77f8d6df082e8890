#include <gtest/gtest.h>
#include <kelp/bundlemgr/service_object.h>

#include <cstddef>
#include <memory>

#include "support/virtual_slot.h"

namespace {

using namespace NS_BUNDLEMGR1;
using kelp::test::slotOf;

TEST(ServiceObject, OrderOfTheVirtualOperationsIsTheContractWithTheHost) {
    const std::ptrdiff_t resume = slotOf(&ACE_Service_Object::resume);
    EXPECT_EQ(slotOf(&ACE_Service_Object::suspend), resume - 1);
    EXPECT_EQ(slotOf(&ServiceObjectBase::UnRegistSvc), resume + 1);
    EXPECT_EQ(slotOf(&ServiceObjectBase::GetName), resume + 2);
    EXPECT_EQ(slotOf(&ServiceObjectBase::Shutdown), resume + 3);
    EXPECT_EQ(slotOf(&ServiceObjectBase::GetInterface), resume + 4);
    EXPECT_EQ(slotOf(&ServiceObjectBase::CreateInterface), resume + 5);
    EXPECT_EQ(slotOf(&ServiceObjectBase::RemoveInterface), resume + 6);
}

TEST(ServiceObject, OrderOfTheInterfacesOperationsIsTheContractWithOtherBundles) {
    EXPECT_EQ(slotOf(&ServiceInterface::GetInterfaceName), 2) << "after the destructors";
    EXPECT_EQ(slotOf(&ServiceInterface::GetInterfaceVersion), 3);
    EXPECT_EQ(slotOf(&ErrorCodeBufIf::GetErrorText), 4);
}

TEST(NullServiceInterface, SaysWhatItIs) {
    const NULLServiceInterface nothing;
    EXPECT_STREQ(nothing.GetInterfaceName(), "NULLServiceInterface!");
    EXPECT_EQ(nothing.GetInterfaceVersion(), 0);
}

/// An interface that reports its deletion.
class WatchedInterface : public NULLServiceInterface {
  public:
    explicit WatchedInterface(int& deleted) : deleted_(deleted) {}
    ~WatchedInterface() override { ++deleted_; }

  private:
    int& deleted_;
};

class Service : public ServiceObjectBase {
  public:
    explicit Service(int& deleted)
        : ServiceObjectBase("the_bundle", "the_service"), deleted_(deleted) {}
    ServiceInterface* CreateInterface() override {
        interface_ = std::make_unique<WatchedInterface>(deleted_).release();
        return interface_;
    }

  private:
    int& deleted_;
};

TEST(ServiceObject, KeepsItsNames) {
    int deleted = 0;
    const Service service(deleted);
    EXPECT_STREQ(service.GetName(), "the_service");
    EXPECT_EQ(service.BundleName(), "the_bundle");
    const ServiceObjectBase nameless(nullptr, nullptr);
    EXPECT_STREQ(nameless.GetName(), "");
}

TEST(ServiceObject, HasNoInterfaceUntilItIsMade) {
    int deleted = 0;
    Service service(deleted);
    EXPECT_EQ(service.GetInterface(), nullptr);
    ServiceInterface* const made = service.CreateInterface();
    EXPECT_EQ(service.GetInterface(), made);
}

TEST(ServiceObject, RemovedInterfaceIsDeletedOnceAndOutOfTheRegistry) {
    int deleted = 0;
    Service service(deleted);
    SetIFBuf("key", service.CreateInterface());
    service.RemoveInterface();
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(service.GetInterface(), nullptr);
    EXPECT_EQ(CheckIFBuf("key"), nullptr);
    service.RemoveInterface();
    EXPECT_EQ(deleted, 1);
}

TEST(ServiceObject, UnRegistSvcTakesItsEntriesBackAndKeepsTheInterface) {
    int deleted = 0;
    Service service(deleted);
    EXPECT_EQ(service.UnRegistSvc(), 0);
    SetIFBuf("key", service.CreateInterface());
    EXPECT_EQ(service.UnRegistSvc(), 0);
    EXPECT_EQ(CheckIFBuf("key"), nullptr);
    EXPECT_EQ(deleted, 0);
}

TEST(ServiceObject, DestroysItsInterfaceWithItself) {
    int deleted = 0;
    {
        Service service(deleted);
        SetIFBuf("key", service.CreateInterface());
    }
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(CheckIFBuf("key"), nullptr);
}

TEST(ServiceObject, BaseStartsAndStopsNothing) {
    ServiceObjectBase service("the_bundle", "the_service");
    service.Shutdown();
    EXPECT_EQ(service.CreateInterface(), nullptr);
}

}  // namespace
