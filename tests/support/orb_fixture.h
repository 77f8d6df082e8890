#pragma once

#include <gtest/gtest.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/orb.h>
#include <kelp/orb/references.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace kelp::test {

/// Options for an ORB that listens on a port of the loopback interface chosen by the system.
inline orb::OrbOptions loopbackOptions() {
    orb::OrbOptions options;
    options.listen = {"127.0.0.1:0"};
    return options;
}

/// The process's ORB for the length of a scope. The constructor starts it with a hook and lets
/// callers through, unless the test asks to hold them. The destructor destroys it. destroy() waits
/// for calls in progress.
class RunningOrb {
  public:
    enum class Callers { Through, Held };

    explicit RunningOrb(orb::RequestHook* hook = nullptr,
                        const orb::OrbOptions& options = loopbackOptions(),
                        Callers callers = Callers::Through)
        : orb_(orb::start(options, hook)) {
        const CORBA::Object_var object = orb_->resolve_initial_references("RootPOA");
        root_ = PortableServer::POA::_narrow(object.in());
        manager_ = root_->the_POAManager();
        if (callers == Callers::Through)
            orb::letCallersThrough(manager_.in());
        const CORBA::Object_var any = root_->create_reference("IDL:omg.org/CORBA/Object:1.0");
        orb::ReferenceContent content;
        if (!orb::describe(orb_.in(), any.in(), content) || content.endpoints.empty())
            throw std::runtime_error("the ORB does not listen");
        endpoint_ = content.endpoints.front();
    }
    ~RunningOrb() { destroy(); }
    RunningOrb(const RunningOrb&) = delete;
    RunningOrb& operator=(const RunningOrb&) = delete;

    /// The ORB, its root POA and the root POA's manager. All are borrowed.
    CORBA::ORB_ptr orb() const { return orb_.in(); }
    PortableServer::POA_ptr root() const { return root_.in(); }
    PortableServer::POAManager_ptr manager() const { return manager_.in(); }

    /// The first endpoint on which the ORB listens.
    const orb::Endpoint& endpoint() const { return endpoint_; }
    std::uint16_t port() const { return endpoint_.port; }
    std::string hostAndPort() const { return orb::hostAndPort(endpoint_); }

    /// Return a reference to the same object that the ORB does not recognise as local, so a call
    /// from this process goes over a connection. The ORB must publish 127.0.0.1; the reference
    /// contains another spelling of that address.
    CORBA::Object_ptr overTheWire(CORBA::Object_ptr reference) const {
        const CORBA::String_var text = orb_->object_to_string(reference);
        std::string changed(text.in());
        const std::string host = hexOf("127.0.0.1");
        const std::size_t at = changed.find(host);
        if (at == std::string::npos)
            throw std::runtime_error("not a reference to 127.0.0.1");
        changed.replace(at, host.size(), hexOf("127.00.01"));
        return orb::toReference(orb_.in(), changed);
    }

    /// Do the same for an object published under a well-known key. The reference has no type: use
    /// _unchecked_narrow, because _narrow makes a call.
    CORBA::Object_ptr overTheWireByKey(const std::string& key) const {
        return orb::toReference(orb_.in(),
                                "corbaloc:iiop:1.2@127.1:" + std::to_string(port()) + "/" + key);
    }

    void destroy() {
        if (CORBA::is_nil(orb_.in()))
            return;
        try {
            manager_ = PortableServer::POAManager::_nil();
            root_ = PortableServer::POA::_nil();
            orb_->destroy();
        } catch (const CORBA::Exception& ex) {
            ADD_FAILURE() << "the ORB did not stop: " << orb::exceptionText(ex);
        }
        orb_ = CORBA::ORB::_nil();
    }

  private:
    static std::string hexOf(const std::string& bytes) {
        static const char digits[] = "0123456789abcdef";
        std::string text;
        for (const char c : bytes) {
            const auto byte = static_cast<unsigned char>(c);
            text += digits[byte >> 4];
            text += digits[byte & 15];
        }
        return text;
    }

    CORBA::ORB_var orb_;
    PortableServer::POA_var root_;
    PortableServer::POAManager_var manager_;
    orb::Endpoint endpoint_;
};

}  // namespace kelp::test
