#include <kelp/nms/client.h>
#include <kelp/orb/orb.h>
#include <kelp/orb/references.h>
#include <kelp/orb/timeouts.h>
#include <kelp/orb/tls_files.h>
#include <kelp/util/joined.h>

#include <set>
#include <utility>

#include "cos_naming_tree.h"
#include "failure_text.h"
#include "local_address.h"

namespace kelp::nms {

namespace {

std::string listenAddress(const NmsSettings& settings) {
    if (!settings.listen.empty())
        return settings.listen;
    std::string host;
    std::string port;
    if (!namingAddress(settings.naming, host, port))
        throw Unreachable("\"" + settings.naming +
                          "\" names no host; say with --listen where the EMS can reach you");
    return orb::hostAndPort({localAddressTowards(host, port), 0, false});
}

orb::OrbOptions orbOptions(const NmsSettings& settings, const std::string& address) {
    orb::OrbOptions options;
    options.messageBytesMax = settings.messageBytesMax;
    if (!settings.tls) {
        options.listen = {address};
        return options;
    }
    options.tlsListen = {address};
    options.tlsCaFile = settings.tls->authorities;
    options.tlsKeyFile = settings.tls->keyFile;
    options.tlsKeyPassword = settings.tls->keyPassword;
    options.tlsCheckServer = settings.tls->checkServer;
    options.tlsServerName = settings.tls->serverName;
    options.tlsCallsOnly = true;
    return options;
}

void refuseUnusable(const orb::TlsFiles& files, const std::string& address) {
    const std::vector<orb::TlsFileProblem> problems = orb::problemsOf(files);
    if (!problems.empty())
        throw CannotListen(
            "cannot listen on " + address + ": " +
            util::joined(problems, ", ", [](const auto& problem) { return problem.what; }));
}

std::string addressOf(CORBA::ORB_ptr orb, CORBA::Object_ptr object) {
    orb::ReferenceContent content;
    if (!orb::describe(orb, object, content) || content.endpoints.empty())
        return {};
    return orb::hostAndPort(content.endpoints.front());
}

}  // namespace

struct NmsClient::State {
    std::string naming;
    CORBA::ORB_var orb;
    PortableServer::POA_var root;

    CosNamingTree tree() const;
};

/// Return the naming service's root context. The answer to the narrow call proves that the service
/// runs.
CosNamingTree NmsClient::State::tree() const {
    try {
        const CORBA::Object_var object = orb::toReference(orb.in(), naming);
        const CosNaming::NamingContext_var context = CosNaming::NamingContext::_narrow(object.in());
        if (CORBA::is_nil(context.in()))
            throw Unreachable("what answers at " + naming + " is not a naming service",
                              CallFault::WrongObject);
        return CosNamingTree(orb.in(), context.in());
    } catch (const CORBA::Exception& exception) {
        throw Unreachable("the naming service at " + naming + " does not answer", exception);
    }
}

NmsClient::NmsClient(const NmsSettings& settings) : state_(std::make_unique<State>()) {
    state_->naming = settings.naming;
    const std::string address = listenAddress(settings);
    const orb::OrbOptions options = orbOptions(settings, address);
    if (settings.tls)
        refuseUnusable({options.tlsCaFile, options.tlsKeyFile, options.tlsKeyPassword}, address);
    try {
        state_->orb = orb::start(options, nullptr);
        orb::setProcessTimeout(settings.timeout);
        const CORBA::Object_var object = state_->orb->resolve_initial_references("RootPOA");
        state_->root = PortableServer::POA::_narrow(object.in());
        const PortableServer::POAManager_var manager = state_->root->the_POAManager();
        orb::letCallersThrough(manager.in());
    } catch (const CORBA::Exception& exception) {
        throw CannotListen("cannot listen on " + address + ": " + failureText(exception));
    }
}

NmsClient::~NmsClient() {
    try {
        state_->root = PortableServer::POA::_nil();
        state_->orb->destroy();
    } catch (const CORBA::Exception&) {
        // the ORB has already been destroyed
    }
}

CORBA::ORB_ptr NmsClient::orb() const {
    return state_->orb.in();
}

PortableServer::POA_ptr NmsClient::rootPoa() const {
    return state_->root.in();
}

void NmsClient::requireNaming() {
    (void)state_->tree();
}

std::vector<std::string> NmsClient::factoryPaths() {
    CosNamingTree tree = state_->tree();
    std::vector<NamingPath> unreadable;
    std::vector<std::string> texts;
    for (const NamingPath& path : findFactories(tree, unreadable))
        texts.push_back(toText(path));
    if (texts.empty() && !unreadable.empty())
        throw Unreachable("no session factory found, but the naming context " +
                          toText(unreadable.front()) + " could not be listed");
    return texts;
}

bool NmsClient::leadToOne(const std::vector<std::string>& paths) {
    std::set<std::string> references;
    for (const std::string& path : paths)
        references.insert(referenceAt(path));
    return references.size() <= 1;
}

std::string NmsClient::onlyFactoryPath() {
    const std::vector<std::string> paths = factoryPaths();
    if (paths.empty())
        throw NotRegistered("no session factory is registered in the naming service at " +
                            state_->naming);
    if (!leadToOne(paths))
        throw Unreachable("several session factories are registered, choose one with --factory: " +
                          util::joined(paths, ", "));
    return paths.front();
}

std::string NmsClient::referenceAt(const std::string& path) {
    const CORBA::Object_var object = state_->tree().resolve(toNamingPath(path));
    try {
        const CORBA::String_var text = state_->orb->object_to_string(object.in());
        return std::string(text.in());
    } catch (const CORBA::Exception& exception) {
        throw Unreachable("what is bound under " + path + " is not a usable reference", exception);
    }
}

FoundFactory NmsClient::findFactory(const std::string& path) {
    const std::string wanted = path.empty() ? onlyFactoryPath() : path;
    const NamingPath name = toNamingPath(wanted);
    const CORBA::Object_var object = state_->tree().resolve(name);
    FoundFactory found{{}, wanted, addressOf(state_->orb.in(), object.in())};
    try {
        found.reference = emsSessionFactory::EmsSessionFactory_I::_narrow(object.in());
    } catch (const CORBA::Exception& exception) {
        throw Unreachable("what is bound under " + wanted + " does not answer", exception);
    }
    if (CORBA::is_nil(found.reference.in()))
        throw Unreachable("what is bound under " + wanted + " is not a session factory",
                          CallFault::WrongObject);
    return found;
}

FoundFactory NmsClient::factoryByReference(const std::string& text) {
    try {
        const CORBA::Object_var object = orb::toReference(state_->orb.in(), text);
        FoundFactory found{{}, {}, addressOf(state_->orb.in(), object.in())};
        found.reference = emsSessionFactory::EmsSessionFactory_I::_unchecked_narrow(object.in());
        return found;
    } catch (const CORBA::Exception& exception) {
        throw Unreachable("this is not a usable reference", exception);
    }
}

std::string NmsClient::interfaceVersion(const FoundFactory& factory) {
    try {
        const CORBA::String_var version = factory.reference->getVersion();
        return std::string(version.in());
    } catch (const CORBA::Exception& exception) {
        throw Unreachable("the session factory at " + factory.address + " does not answer",
                          exception);
    }
}

std::unique_ptr<NmsSession> NmsClient::logIn(const FoundFactory& factory, const std::string& user,
                                             const std::string& password,
                                             std::shared_ptr<NmsListener> listener) {
    if (listener == nullptr)
        listener = std::make_shared<NmsListener>();
    try {
        CallbackActivation callback(state_->root.in(), std::move(listener));
        emsSession::EmsSession_I_var session;
        factory.reference->getEmsSession(user.c_str(), password.c_str(), callback.reference(),
                                         session.out());
        if (CORBA::is_nil(session.in()))
            throw Unreachable("the EMS answered the log-in with a nil session");
        return std::make_unique<NmsSession>(std::move(callback), session.in());
    } catch (const globaldefs::ProcessingFailureException& exception) {
        throw LoginRefused("log-in of user \"" + user + "\" refused", exception);
    } catch (const CORBA::Exception& exception) {
        throw Unreachable("log-in at " + factory.address + " failed", exception);
    }
}

}  // namespace kelp::nms
