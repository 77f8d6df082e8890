#include <gtest/gtest.h>
#include <kelp/orb/exception_text.h>

#include "base_orb.h"
#include "scripted_interceptor.h"
#include "support/omninames.h"
#include "support/trace_capture.h"

using kelp::test::base;
using kelp::test::BaseOrb;
using kelp::test::OmniNames;
using kelp::test::TraceCapture;
using kelp::test::WireSession;

namespace {

std::string withNaming(const OmniNames& names) {
    return kelp::test::kFreePort + std::string("[naming]\nport = ") + std::to_string(names.port()) +
           "\n";
}

CosNaming::Name factoryName() {
    CosNaming::Name name;
    base().ConstructEmsFactoryName(name);
    return name;
}

CosNaming::Name prefixOf(const CosNaming::Name& name, CORBA::ULong length) {
    CosNaming::Name prefix;
    prefix.length(length);
    for (CORBA::ULong i = 0; i < length; ++i)
        prefix[i] = name[i];
    return prefix;
}

class NamingRegistration : public testing::Test {
  protected:
    NamingRegistration() {
        // when an object is bound where a context should be, the naming service asks the object for
        // its type
        base().SetReqInterceptorImpl(&interceptor);
        EXPECT_EQ(NS_CORBA::AgentServer::Activate(), 0);
    }
    ~NamingRegistration() override { base().SetReqInterceptorImpl(nullptr); }

    CosNaming::NamingContext_ptr root() const {
        const CORBA::ORB_var itsOrb = base().GetOrb();
        const CORBA::Object_var object = kelp::orb::toReference(itsOrb.in(), names.corbaloc());
        return CosNaming::NamingContext::_narrow(object.in());
    }
    /// Return the object bound to the factory's name; nil if it is not bound.
    CORBA::Object_ptr entry() const {
        const CosNaming::NamingContext_var context = root();
        try {
            return context->resolve(factoryName());
        } catch (const CosNaming::NamingContext::NotFound&) {
            return CORBA::Object::_nil();
        }
    }
    bool isBoundTo(const WireSession& session) const {
        const CORBA::Object_var found = entry();
        return !CORBA::is_nil(found.in()) && found->_is_equivalent(session.own());
    }
    bool isBound() const {
        const CORBA::Object_var found = entry();
        return !CORBA::is_nil(found.in());
    }

    kelp::test::ScriptedInterceptor interceptor;
    OmniNames names;
    BaseOrb orb{withNaming(names)};
    WireSession factory;
    TraceCapture capture;
};

TEST_F(NamingRegistration, MakesTheMissingContextsAndBinds) {
    EXPECT_TRUE(base().RegistEMSFactoryName(factory.own()));
    EXPECT_TRUE(isBoundTo(factory));
    const CosNaming::NamingContext_var context = root();
    const CosNaming::Name name = factoryName();
    for (CORBA::ULong length = 1; length < name.length(); ++length) {
        const CORBA::Object_var step = context->resolve(prefixOf(name, length));
        const CosNaming::NamingContext_var asContext = CosNaming::NamingContext::_narrow(step.in());
        EXPECT_FALSE(CORBA::is_nil(asContext.in())) << length;
    }
}

TEST_F(NamingRegistration, UsesExistingContexts) {
    const CosNaming::NamingContext_var context = root();
    const CosNaming::Name name = factoryName();
    const CosNaming::NamingContext_var classes = context->bind_new_context(prefixOf(name, 1));
    const CosNaming::NamingContext_var vendors = context->bind_new_context(prefixOf(name, 2));
    EXPECT_TRUE(base().RegistEMSFactoryName(factory.own()));
    EXPECT_TRUE(isBoundTo(factory));
    const CORBA::Object_var vendor = context->resolve(prefixOf(name, 2));
    EXPECT_TRUE(vendor->_is_equivalent(vendors.in()));
}

TEST_F(NamingRegistration, ReplacesWhatIsBound) {
    const WireSession successor;
    EXPECT_TRUE(base().RegistEMSFactoryName(factory.own()));
    EXPECT_TRUE(base().RegistEMSFactoryName(successor.own()));
    EXPECT_TRUE(isBoundTo(successor));
    EXPECT_TRUE(base().RegistEMSFactoryName(successor.own()));
    EXPECT_TRUE(isBoundTo(successor));
}

TEST_F(NamingRegistration, UnregisteringRemovesTheEntryAndLeavesTheContexts) {
    ASSERT_TRUE(base().RegistEMSFactoryName(factory.own()));
    base().UnRegistEMSFactoryName();
    EXPECT_FALSE(isBound());
    const CosNaming::NamingContext_var context = root();
    const CORBA::Object_var version = context->resolve(prefixOf(factoryName(), 4));
    EXPECT_FALSE(CORBA::is_nil(version.in()));
    base().UnRegistEMSFactoryName();
    EXPECT_TRUE(base().RegistEMSFactoryName(factory.own()));
    EXPECT_TRUE(isBoundTo(factory));
}

TEST_F(NamingRegistration, UnregisteringLeavesAnotherFactorysEntry) {
    const WireSession other;
    ASSERT_TRUE(base().RegistEMSFactoryName(factory.own()));
    const CosNaming::NamingContext_var context = root();
    context->rebind(factoryName(), other.own());
    base().UnRegistEMSFactoryName();
    EXPECT_TRUE(isBoundTo(other));
    EXPECT_TRUE(capture.contains("The entry is another factory's and stays"));
}

TEST_F(NamingRegistration, UnregisteringLeavesTheSameObjectOfAnotherHost) {
    ASSERT_TRUE(base().RegistEMSFactoryName(factory.own()));
    const CORBA::ORB_var itsOrb = base().GetOrb();
    std::string elsewhere = kelp::test::wireAddress(factory.own());
    elsewhere.replace(elsewhere.find("127.1"), 5, "10.9.9.9");
    const CORBA::Object_var twin = kelp::orb::toReference(itsOrb.in(), elsewhere);
    const CosNaming::NamingContext_var context = root();
    context->rebind(factoryName(), twin.in());
    base().UnRegistEMSFactoryName();
    EXPECT_TRUE(isBound());
}

TEST_F(NamingRegistration, UnregisteringWhatWasNeverRegisteredIsHarmless) {
    const CosNaming::NamingContext_var context = root();
    base().UnRegistEMSFactoryName();
    EXPECT_FALSE(isBound());
    EXPECT_TRUE(capture.lines().empty());
}

TEST_F(NamingRegistration, UnregisteringAMissingEntryIsHarmless) {
    ASSERT_TRUE(base().RegistEMSFactoryName(factory.own()));
    const CosNaming::NamingContext_var context = root();
    context->unbind(factoryName());
    base().UnRegistEMSFactoryName();
    EXPECT_FALSE(isBound());
}

TEST_F(NamingRegistration, AnObjectWhereAContextMustBeFailsAndIsNamed) {
    const CosNaming::NamingContext_var context = root();
    context->bind(prefixOf(factoryName(), 1), factory.own());
    EXPECT_FALSE(base().RegistEMSFactoryName(factory.own()));
    EXPECT_TRUE(capture.contains("TMF_MTNM.Class: an object stands where a context must be!"));
}

TEST_F(NamingRegistration, AnObjectInTheMiddleOfThePathFailsAndIsNamed) {
    const CosNaming::NamingContext_var context = root();
    const CosNaming::NamingContext_var classes =
        context->bind_new_context(prefixOf(factoryName(), 1));
    context->bind(prefixOf(factoryName(), 2), factory.own());
    EXPECT_FALSE(base().RegistEMSFactoryName(factory.own()));
    EXPECT_TRUE(capture.contains("Kelp.Vendor: an object stands where a context must be!"));
}

TEST_F(NamingRegistration, NilIsNotRegistered) {
    EXPECT_FALSE(base().RegistEMSFactoryName(CORBA::Object::_nil()));
    EXPECT_FALSE(isBound());
}

TEST_F(NamingRegistration, ADeadNamingServiceFailsWithATrace) {
    ASSERT_TRUE(base().RegistEMSFactoryName(factory.own()));
    names.kill();
    EXPECT_FALSE(base().RegistEMSFactoryName(factory.own()));
    EXPECT_TRUE(capture.contains(
        "[CorbaBaseAgentConfig::RegistEMSFactoryName] Could not bind the factory! " +
        names.corbaloc()));
    base().UnRegistEMSFactoryName();
    EXPECT_TRUE(capture.contains(
        "[CorbaBaseAgentConfig::UnRegistEMSFactoryName] Could not unbind the factory!"));
}

TEST_F(NamingRegistration, AFrozenNamingServiceIsGivenUp) {
    ASSERT_TRUE(base().RegistEMSFactoryName(factory.own()));
    names.freeze();
    EXPECT_FALSE(base().RegistEMSFactoryName(factory.own()));
    EXPECT_TRUE(capture.contains("TIMEOUT"));
    base().UnRegistEMSFactoryName();
    names.thaw();
    EXPECT_TRUE(base().RegistEMSFactoryName(factory.own()));
    EXPECT_TRUE(isBoundTo(factory));
}

TEST_F(NamingRegistration, AnEmptiedNamingServiceIsFilledAgain) {
    ASSERT_TRUE(base().RegistEMSFactoryName(factory.own()));
    names.restartEmpty();
    // the first call may use the old connection to the previous naming service
    const bool bound =
        base().RegistEMSFactoryName(factory.own()) || base().RegistEMSFactoryName(factory.own());
    EXPECT_TRUE(bound);
    EXPECT_TRUE(isBoundTo(factory));
}

TEST_F(NamingRegistration, TheCallersOwnTimeOutIsRestored) {
    const kelp::test::DeafListener deaf;
    const CORBA::ORB_var itsOrb = base().GetOrb();
    // 0.3 s: shorter than the 2 s of a registration's calls
    ASSERT_TRUE(base().SetCurrentThreadTimeOutPolicy(itsOrb.in(), 3000000));
    ASSERT_TRUE(base().RegistEMSFactoryName(factory.own()));
    const CORBA::Object_var hung = kelp::orb::toReference(itsOrb.in(), deaf.corbaloc());
    EXPECT_THROW(hung->_non_existent(), CORBA::TIMEOUT);
}

}  // namespace
