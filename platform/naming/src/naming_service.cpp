#include <kelp/naming/naming_service.h>
#include <kelp/orb/orb.h>

#include <array>
#include <utility>

#include "binding_iterator.h"
#include "context_servant.h"
#include "orb_surroundings.h"
#include "served_tree.h"

namespace kelp::naming {

namespace {

constexpr std::array kKeys = {"NameService", "DefaultNamingContext", "NamingContextExt"};

}  // namespace

struct NamingService::State {
    CORBA::ORB_var orb;
    OrbSurroundings* surroundings = nullptr;  ///< owned by the tree
    std::shared_ptr<ServedTree> tree;
    std::vector<std::string> keys;  ///< the published keys

    void activate();
    void withdraw() noexcept;
};

NamingService::NamingService(CORBA::ORB_ptr orb, PortableServer::POA_ptr parent,
                             const NamingSettings& settings, OnRefusedChange onRefused)
    : state_(std::make_unique<State>()) {
    state_->orb = CORBA::ORB::_duplicate(orb);
    auto surroundings = std::make_unique<OrbSurroundings>(orb, parent);
    state_->surroundings = surroundings.get();
    state_->tree =
        std::make_shared<ServedTree>(settings, std::move(surroundings), std::move(onRefused));
    try {
        state_->activate();
    } catch (...) {
        state_->withdraw();
        throw;
    }
}

NamingService::~NamingService() {
    state_->withdraw();
}

void NamingService::State::activate() {
    const PortableServer::ServantBase_var contexts(new AnyContext(tree));
    surroundings->contexts()->set_servant(contexts.in());
    const PortableServer::ServantBase_var iterators(new BindingIterators(tree));
    surroundings->iterators()->set_servant(iterators.in());
    const CORBA::Object_var root = surroundings->contextAt({});
    for (const char* const key : kKeys) {
        const PortableServer::ServantBase_var servant(new RootContext(tree));
        orb::publishKey(orb.in(), key, servant.in(), root.in());
        keys.emplace_back(key);
    }
}

void NamingService::State::withdraw() noexcept {
    for (const std::string& key : keys)
        orb::withdrawKey(orb.in(), key);
    try {
        surroundings->contexts()->destroy(true, false);
    } catch (const CORBA::Exception&) {
        // the ORB has been destroyed together with its POAs
    }
}

void NamingService::letCallersThrough() {
    const PortableServer::POAManager_var manager =
        state_->surroundings->contexts()->the_POAManager();
    manager->activate();
}

CosNaming::NamingContextExt_ptr NamingService::root() const {
    return state_->surroundings->contextAt({});
}

void NamingService::change(const std::vector<util::NamingPath>& aliases,
                           const NamingLimits& limits) {
    state_->tree->change(aliases, limits);
}

}  // namespace kelp::naming
