#include <kelp/orb/poas.h>
#include <kelp/util/mutex.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <list>
#include <thread>

namespace kelp::orb {

namespace {

/// A POA below the root whose destruction has begun. It is identified by its address and not held
/// by a reference. A reference would keep its servant manager, and so the code of a module, for
/// longer than the POA itself lives.
struct Dying {
    PortableServer::POA_var root;
    PortableServer::POA_ptr identity;
    std::string name;
    std::uint64_t number = 0;
    bool begun = false;  ///< destroy() has returned
};

/// Minimum number of entries for a search for those that are gone. The search walks through all
/// children of the root, so it is not made for every destruction.
constexpr std::size_t kPruneAtLeast = 64;

struct DyingPoas {
    util::Mutex mutex{util::LockRank::Service, "DyingPoas::mutex"};
    std::list<Dying> entries KELP_GUARDED_BY(mutex);
    std::uint64_t numbers KELP_GUARDED_BY(mutex) = 0;
    /// Number of entries from which on those that are gone are searched for.
    std::size_t pruneAt KELP_GUARDED_BY(mutex) = kPruneAtLeast;

    /// Return the entry with a number, or the end.
    std::list<Dying>::iterator entryOf(std::uint64_t number) KELP_REQUIRES(mutex) {
        return std::find_if(entries.begin(), entries.end(),
                            [number](const Dying& each) { return each.number == number; });
    }
};

// never deleted: the ORB's threads may still use it while the process exits
DyingPoas& dyingPoas() {
    static DyingPoas* poas = new DyingPoas;
    return *poas;
}

/// Return whether this child of the root is the POA of the entry. Near its end a POA has no name
/// any more, but still occupies its place while its objects are etherealized.
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

/// Return whether a new POA of that name at the same address is alive: then its parent finds it.
bool isFound(PortableServer::POA_ptr root, const std::string& name) {
    try {
        const PortableServer::POA_var found = root->find_POA(name.c_str(), false);
        return true;
    } catch (const PortableServer::POA::AdapterNonExistent&) {
        return false;
    }
}

/// Return the children of the root; none when the ORB is down.
PortableServer::POAList* childrenOf(PortableServer::POA_ptr root) {
    try {
        return root->the_children();
    } catch (const CORBA::Exception&) {
        return new PortableServer::POAList;
    }
}

/// Return whether the POA is gone. The root lists a child until its last call has ended and its
/// last object is etherealized. As long as it is listed, create_POA of the same name would wait.
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

void erase(std::uint64_t number) {
    DyingPoas& poas = dyingPoas();
    const util::MutexLock lock(poas.mutex);
    const auto entry = poas.entryOf(number);
    if (entry != poas.entries.end())
        poas.entries.erase(entry);
}

/// Remove those of the entries whose POAs are gone, and return how many are left. The ORB is called
/// without the lock.
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

/// Prune only when many entries have gathered, so that the cost of each is small.
void pruneNowAndThen() {
    DyingPoas& poas = dyingPoas();
    std::list<Dying> seen;
    {
        const util::MutexLock lock(poas.mutex);
        if (poas.entries.size() < poas.pruneAt)
            return;
        seen = poas.entries;
    }
    const std::size_t left = prune(seen);
    const util::MutexLock lock(poas.mutex);
    poas.pruneAt = std::max(kPruneAtLeast, 2 * left);
}

/// Return the root if it is the POA's parent; nil for any other POA.
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

    // the name counts as dying before the POA is destroyed, so that nobody finds it free in between
    DyingPoas& poas = dyingPoas();
    std::uint64_t number = 0;
    {
        const util::MutexLock lock(poas.mutex);
        number = dying.number = ++poas.numbers;
        poas.entries.push_back(dying);
    }
    try {
        poa->destroy(true, false);
    } catch (const CORBA::Exception&) {
        erase(number);
        throw;
    }
    const util::MutexLock lock(poas.mutex);
    const auto entry = poas.entryOf(number);
    if (entry != poas.entries.end())
        entry->begun = true;
}

bool isNameDying(const std::string& name) {
    DyingPoas& poas = dyingPoas();
    std::list<Dying> seen;
    {
        const util::MutexLock lock(poas.mutex);
        for (const Dying& each : poas.entries) {
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
