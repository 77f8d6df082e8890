// The order of virtual operations that other modules of the product are compiled against.

#include <gtest/gtest.h>
#include <kelp/bundlemgr/exceptions.h>
#include <kelp/corbabase/request_interceptor.h>
#include <kelp/corbabase/supplier_mgr.h>

#include <type_traits>

#include "session/ems_session_factory_impl.h"
#include "session/ems_session_impl.h"
#include "support/virtual_slot.h"

namespace kelp::test {
namespace {

using NS_BUNDLEMGR1::InterfaceNotExistException;
using NS_BUNDLEMGR1::ProcessException;
using NS_CORBA::CallBackProcessBase;
using NS_CORBA::RequestInterceptorBase;
using NS_KELPCORBA::EmsSession_IImpl;
using NS_KELPCORBA::EmsSessionFactory_IImpl;

// The operations of an inherited interface come first, then what the ORB's skeleton of it adds.

TEST(VirtualSlots, KeepTheSessionFactorysOrder) {
    EXPECT_EQ(slotOf(&EmsSessionFactory_IImpl::getVersion),
              slotOf(&POA_mtnmVersion::Version_I::getVersion));
    EXPECT_EQ(slotOf(&EmsSessionFactory_IImpl::getEmsSession),
              slotOf(&POA_emsSessionFactory::EmsSessionFactory_I::getEmsSession));
    EXPECT_GT(slotOf(&EmsSessionFactory_IImpl::getEmsSession),
              slotOf(&EmsSessionFactory_IImpl::getVersion));
}

TEST(VirtualSlots, KeepTheSessionsOrder) {
    const std::ptrdiff_t first = slotOf(&EmsSession_IImpl::associatedSession);
    EXPECT_EQ(slotOf(&EmsSession_IImpl::ping), first + 1);
    EXPECT_EQ(slotOf(&EmsSession_IImpl::endSession), first + 2);
    const std::ptrdiff_t managers = slotOf(&EmsSession_IImpl::getSupportedManagers);
    EXPECT_GT(managers, first + 2);
    EXPECT_EQ(slotOf(&EmsSession_IImpl::getManager), managers + 1);
    EXPECT_EQ(slotOf(&EmsSession_IImpl::getEventChannel), managers + 2);
    EXPECT_EQ(slotOf(&EmsSession_IImpl::_default_POA), managers + 3);
}

TEST(VirtualSlots, KeepTheInterceptorsOrder) {
    EXPECT_EQ(slotOf(&RequestInterceptorBase::receive_request), 2) << "after the destructors";
    EXPECT_EQ(slotOf(&RequestInterceptorBase::SetThreadContext), 3);
}

TEST(VirtualSlots, KeepTheOrderOfTheChannelsCallbacks) {
    EXPECT_EQ(slotOf(&CallBackProcessBase::OnEventLossCleared), 2) << "after the destructors";
    EXPECT_EQ(slotOf(&CallBackProcessBase::OnEventLossOccurred), 3);
    EXPECT_EQ(slotOf(&CallBackProcessBase::FormatAlarmLog), 4);
    EXPECT_EQ(slotOf(&CallBackProcessBase::SendHeartbeat), 5);
}

TEST(VirtualSlots, OfExceptionsAreThoseOfTheStandardsException) {
    EXPECT_EQ(slotOf(&ProcessException::what), slotOf(&std::exception::what));
    EXPECT_EQ(slotOf(&InterfaceNotExistException::what), slotOf(&std::exception::what));
    EXPECT_EQ(slotOf(&std::exception::what), 2) << "after the destructors";
    EXPECT_TRUE((std::is_base_of_v<std::exception, ProcessException>));
    EXPECT_EQ(sizeof(InterfaceNotExistException), sizeof(ProcessException));
}

}  // namespace
}  // namespace kelp::test
