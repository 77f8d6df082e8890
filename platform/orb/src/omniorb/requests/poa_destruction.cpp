#include <kelp/orb/poas.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <thread>

namespace kelp::orb {

namespace {

/// A POA below the root whose destruction has begun. The POA is told apart by its address and not
/// held by a reference: that would keep its servant manager, and so code of a module, for longer
/// than the POA itself lives.
struct Dying {
    PortableServer::POA_var root;
    PortableServer::POA_ptr identity;
    std::string name;
    std::uint64_t number = 0;
    bool begun = false;  ///< destroy() has returned
};

/// Asking about one entry walks through all children of the root, so it is not done for every
/// destruction.
constexpr std::size_t kPruneAtLeast = 64;

struct DyingPoas {
    std::mutex lock;
    std::list<Dying> entries;
    std::uint64_t numbers = 0;
    std::size_t pruneAt =
        kPruneAtLeast;  ///< number of entries from which on those that are gone are sought
};

// never deleted: the ORB's own threads may still ask while the process ends
DyingPoas& dyingPoas() {
    static DyingPoas* poas = new DyingPoas;
    return *poas;
}

/// Is this child of the root the one that the entry means? Near its end a POA has no name any more
/// but still occupies its place (its objects are being etherealized).
bool isSame(PortableServer::POA_ptr child, const Dying& dying) {
    if (child != dying.identity)
        return false;
    try {
        const CORBA::String_var name = child->the_name();
        return dying.name == name.in();
    } catch (const CORBA::OBJECT_NOT_EXIST&) {
        return true;
    }
}

/// A new POA of that name at the same address is alive: its parent finds it.
bool isFound(PortableServer::POA_ptr root, const std::string& name) {
    try {
        const PortableServer::POA_var found = root->find_POA(name.c_str(), false);
        return true;
    } catch (const PortableServer::POA::AdapterNonExistent&) {
        return false;
    }
}

/// None when the ORB is down.
PortableServer::POAList* childrenOf(PortableServer::POA_ptr root) {
    try {
        return root->the_children();
    } catch (const CORBA::Exception&) {
        return new PortableServer::POAList;
    }
}

/// The root lists a child until the last of its calls has ended and the last of its objects is
/// etherealized; as long as it is listed, create_POA of the same name would wait.
bool isGone(const Dying& dying, PortableServer::POAList& children) {
    try {
        for (CORBA::ULong i = 0; i < children.length(); ++i) {
            if (isSame(children[i], dying))
                return isFound(dying.root.in(), dying.name);
        }
        return true;
    } catch (const CORBA::Exception&) {
        return true;  // the ORB is down, and all POAs with it
    }
}

std::list<Dying>::iterator entryOf(std::uint64_t number) {
    std::list<Dying>& entries = dyingPoas().entries;
    return std::find_if(entries.begin(), entries.end(),
                        [number](const Dying& each) { return each.number == number; });
}

void erase(std::uint64_t number) {
    const std::lock_guard<std::mutex> guard(dyingPoas().lock);
    const auto entry = entryOf(number);
    if (entry != dyingPoas().entries.end())
        dyingPoas().entries.erase(entry);
}

/// Removes those of the entries whose POAs are gone; how many are left. The ORB is asked without
/// the lock.
std::size_t prune(const std::list<Dying>& seen) {
    std::size_t left = seen.size();
    PortableServer::POA_ptr root = PortableServer::POA::_nil();  // owned by the entries
    PortableServer::POAList_var children;
    for (const Dying& each : seen) {
        if (each.root.in() != root) {
            root = each.root.in();
            children = childrenOf(root);
        }
        if (each.begun && isGone(each, children.inout())) {
            erase(each.number);
            --left;
        }
    }
    return left;
}

/// Prunes when that many have gathered that the cost, spread over them, is small.
void pruneNowAndThen() {
    std::list<Dying> seen;
    {
        const std::lock_guard<std::mutex> guard(dyingPoas().lock);
        if (dyingPoas().entries.size() < dyingPoas().pruneAt)
            return;
        seen = dyingPoas().entries;
    }
    const std::size_t left = prune(seen);
    const std::lock_guard<std::mutex> guard(dyingPoas().lock);
    dyingPoas().pruneAt = std::max(kPruneAtLeast, 2 * left);
}

/// The root of a POA right below it; nil for any other POA.
PortableServer::POA_ptr rootAbove(PortableServer::POA_ptr poa) {
    PortableServer::POA_var parent = poa->the_parent();
    if (CORBA::is_nil(parent.in()))
        return PortableServer::POA::_nil();
    const PortableServer::POA_var grandparent = parent->the_parent();
    return CORBA::is_nil(grandparent.in()) ? parent._retn() : PortableServer::POA::_nil();
}

}  // namespace

void beginDestroy(PortableServer::POA_ptr poa) {
    if (CORBA::is_nil(poa))
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    pruneNowAndThen();
    Dying dying;
    dying.root = rootAbove(poa);
    if (CORBA::is_nil(dying.root.in())) {
        poa->destroy(true, false);
        return;
    }
    dying.identity = poa;
    const CORBA::String_var name = poa->the_name();
    dying.name = name.in();

    // the name is dying before the POA is: nobody may find it free in between
    std::uint64_t number = 0;
    {
        const std::lock_guard<std::mutex> guard(dyingPoas().lock);
        number = dying.number = ++dyingPoas().numbers;
        dyingPoas().entries.push_back(dying);
    }
    try {
        poa->destroy(true, false);
    } catch (const CORBA::Exception&) {
        erase(number);
        throw;
    }
    const std::lock_guard<std::mutex> guard(dyingPoas().lock);
    const auto entry = entryOf(number);
    if (entry != dyingPoas().entries.end())
        entry->begun = true;
}

bool isNameDying(const std::string& name) {
    std::list<Dying> seen;
    {
        const std::lock_guard<std::mutex> guard(dyingPoas().lock);
        for (const Dying& each : dyingPoas().entries) {
            if (each.name == name)
                seen.push_back(each);
        }
    }
    return prune(seen) != 0;
}

bool waitUntilGone(const std::string& name, std::chrono::milliseconds limit) {
    constexpr std::chrono::milliseconds longestPause(20);
    const auto end = std::chrono::steady_clock::now() + limit;
    std::chrono::milliseconds pause(1);
    while (isNameDying(name)) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left <= std::chrono::milliseconds::zero())
            return false;
        std::this_thread::sleep_for(std::min(pause, left));
        pause = std::min(pause * 2, longestPause);
    }
    return true;
}

}  // namespace kelp::orb
