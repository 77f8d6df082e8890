#include <kelp/orb/poas.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <mutex>
#include <thread>

namespace kelp::orb {

namespace {

/// A POA below the root whose destruction has begun. The POA is told apart by its address and not held by a
/// reference: that would keep its servant manager, and so code of a module, for longer than the POA itself
/// lives.
struct Dying {
    PortableServer::POA_var root;
    PortableServer::POA_ptr identity;
    std::string name;
    std::uint64_t number = 0;
    bool begun = false;  ///< destroy() has returned
};

struct DyingPoas {
    std::mutex lock;
    std::list<Dying> entries;
    std::uint64_t numbers = 0;
};

// never deleted: the ORB's own threads may still ask while the process ends
DyingPoas& dyingPoas() {
    static DyingPoas* poas = new DyingPoas;
    return *poas;
}

/// Is this child of the root the one that the entry means? Near its end a POA has no name any more but still
/// occupies its place (its objects are being etherealized).
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

/// The root lists a child until the last of its calls has ended and the last of its objects is etherealized;
/// as long as it is listed, create_POA of the same name would wait.
bool isGone(const Dying& dying) {
    try {
        PortableServer::POAList_var children = dying.root->the_children();
        for (CORBA::ULong i = 0; i < children->length(); ++i) {
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

/// Removes the entries whose POAs are gone and answers whether one of `name` is left. The ORB is asked
/// outside the lock.
bool pruneAndFind(const std::string& name) {
    std::list<Dying> seen;
    {
        const std::lock_guard<std::mutex> guard(dyingPoas().lock);
        seen = dyingPoas().entries;
    }
    bool found = false;
    for (const Dying& each : seen) {
        if (each.begun && isGone(each))
            erase(each.number);
        else
            found = found || each.name == name;
    }
    return found;
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
    pruneAndFind({});
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
    return pruneAndFind(name);
}

bool waitUntilGone(const std::string& name, std::chrono::milliseconds limit) {
    constexpr std::chrono::milliseconds longestPause(20);
    const auto end = std::chrono::steady_clock::now() + limit;
    std::chrono::milliseconds pause(1);
    while (isNameDying(name)) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left <= std::chrono::milliseconds::zero())
            return false;
        std::this_thread::sleep_for(std::min(pause, left));
        pause = std::min(pause * 2, longestPause);
    }
    return true;
}

}  // namespace kelp::orb
