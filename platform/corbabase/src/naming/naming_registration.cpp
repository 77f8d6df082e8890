#include "naming/naming_registration.h"

#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/references.h>
#include <kelp/orb/timeouts.h>

#include <algorithm>
#include <string_view>

#include "naming/embedded_naming.h"
#include "naming/factory_path.h"

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;

constexpr const char* kFile = "namingregistration";
constexpr std::chrono::seconds kCallLimit{2};

/// Format the first `length` components as "id.kind / id.kind".
std::string pathText(const CosNaming::Name& name, CORBA::ULong length) {
    std::string text;
    for (CORBA::ULong i = 0; i < length; ++i) {
        if (i > 0)
            text += " / ";
        text += name[i].id.in();
        text += ".";
        text += name[i].kind.in();
    }
    return text;
}

const char* reasonText(CosNaming::NamingContext::NotFoundReason why) {
    switch (why) {
        case CosNaming::NamingContext::missing_node:
            return "a context is missing";
        case CosNaming::NamingContext::not_context:
            return "an object stands where a context must be";
        default:
            return "a context stands where the object must be";
    }
}

/// Call `bind_new_context` for each proper prefix of the name. Existing contexts stay.
void makeContexts(CosNaming::NamingContext_ptr root, const CosNaming::Name& name) {
    for (CORBA::ULong length = 1; length < name.length(); ++length) {
        CosNaming::Name prefix;
        prefix.length(length);
        for (CORBA::ULong i = 0; i < length; ++i)
            prefix[i] = name[i];
        try {
            const CosNaming::NamingContext_var made = root->bind_new_context(prefix);
        } catch (const CosNaming::NamingContext::AlreadyBound&) {
            // a context, or an object at which the next call fails
        }
    }
}

void rebindMakingContexts(CosNaming::NamingContext_ptr root, const CosNaming::Name& name,
                          CORBA::Object_ptr object) {
    try {
        root->rebind(name, object);
        return;
    } catch (const CosNaming::NamingContext::NotFound& notFound) {
        if (notFound.why != CosNaming::NamingContext::missing_node)
            throw;
    }
    makeContexts(root, name);
    root->rebind(name, object);
}

/// Whether the references have the same octets. A reference to the same object with one more
/// address is a different one.
bool isSameReference(CORBA::ORB_ptr orb, CORBA::Object_ptr one, CORBA::Object_ptr other) {
    const CORBA::String_var oneText = orb->object_to_string(one);
    const CORBA::String_var otherText = orb->object_to_string(other);
    return std::string_view(oneText.in()) == otherText.in();
}

void traceNotFound(const char* what, const CosNaming::Name& name,
                   const CosNaming::NamingContext::NotFound& notFound) {
    const CORBA::ULong rest = std::min(notFound.rest_of_name.length(), name.length());
    tracePoint(kFile);
    TaTrace("%s NotFound at %s: %s!", what,
            pathText(name, name.length() - (rest > 0 ? rest - 1 : 0)).c_str(),
            reasonText(notFound.why));
}

void appendComponent(CosNaming::Name& name, const std::string& id, const std::string& kind) {
    const CORBA::ULong at = name.length();
    name.length(at + 1);
    name[at].id = CORBA::string_dup(id.c_str());
    name[at].kind = CORBA::string_dup(kind.c_str());
}

}  // namespace

CosNaming::NamingContext_ptr namingRoot(CORBA::ORB_ptr orb, const std::string& address) {
    CosNaming::NamingContext_var embedded = EmbeddedNaming::instance().root();
    if (!CORBA::is_nil(embedded.in()))
        return embedded._retn();
    const CORBA::Object_var object = kelp::orb::toReference(orb, address);
    return CosNaming::NamingContext::_narrow(object.in());
}

bool NamingRegistration::bind(CORBA::ORB_ptr orb, const std::string& address,
                              const CosNaming::Name& name, CORBA::Object_ptr factory) {
    static constexpr const char* kWhat =
        "[CorbaBaseAgentConfig::RegistEMSFactoryName] Could not bind the factory!";
    if (CORBA::is_nil(orb) || CORBA::is_nil(factory)) {
        tracePoint(kFile);
        TaTrace("%s There is no %s.", kWhat, CORBA::is_nil(orb) ? "ORB" : "factory");
        return false;
    }
    const kelp::orb::ScopedThreadTimeout bounded(kCallLimit);
    try {
        const CosNaming::NamingContext_var root = namingRoot(orb, address);
        if (CORBA::is_nil(root.in())) {
            tracePoint(kFile);
            TaTrace("%s %s is no naming context.", kWhat, address.c_str());
            return false;
        }
        rebindMakingContexts(root.in(), name, factory);
        CORBA::Object_var before;  // released without the lock
        const MutexLock guard(mutex_);
        name_ = name;
        before = bound_._retn();
        bound_ = CORBA::Object::_duplicate(factory);
        return true;
    } catch (const CosNaming::NamingContext::NotFound& notFound) {
        traceNotFound(kWhat, name, notFound);
    } catch (const CORBA::Exception& failure) {
        tracePoint(kFile);
        TaException(failure, (std::string(kWhat) + " " + address).c_str());
    }
    return false;
}

void NamingRegistration::unbind(CORBA::ORB_ptr orb, const std::string& address) {
    static constexpr const char* kWhat =
        "[CorbaBaseAgentConfig::UnRegistEMSFactoryName] Could not unbind the factory!";
    CosNaming::Name name;
    CORBA::Object_var bound;
    {
        const MutexLock guard(mutex_);
        name = name_;
        bound = bound_._retn();
    }
    if (CORBA::is_nil(bound.in()) || CORBA::is_nil(orb))
        return;
    const kelp::orb::ScopedThreadTimeout bounded(kCallLimit);
    try {
        const CosNaming::NamingContext_var root = namingRoot(orb, address);
        if (CORBA::is_nil(root.in()))
            return;
        const CORBA::Object_var entry = root->resolve(name);
        if (CORBA::is_nil(entry.in()) || !isSameReference(orb, entry.in(), bound.in())) {
            tracePoint(kFile);
            TaTrace(
                "[CorbaBaseAgentConfig::UnRegistEMSFactoryName] The entry is another factory's and "
                "stays: %s",
                pathText(name, name.length()).c_str());
            return;
        }
        root->unbind(name);
    } catch (const CosNaming::NamingContext::NotFound& notFound) {
        traceNotFound(kWhat, name, notFound);
    } catch (const CORBA::Exception& failure) {
        tracePoint(kFile);
        TaException(failure, (std::string(kWhat) + " " + address).c_str());
    }
}

void constructFactoryName(CosNaming::Name& name) {
    name.length(0);
    for (const kelp::util::NamingComponent& component : configuredFactoryPath())
        appendComponent(name, component.id, component.kind);
}

}  // namespace NS_CORBA
