#include "faults.h"

#include <dlfcn.h>
#include <kelp/corbabase/base_config.h>
#include <pthread.h>

#include <cerrno>
#include <new>
#include <stdexcept>

namespace kelp::test {

namespace {

/// Counts down to the one call that fails.
struct Countdown {
    int left = 0;  ///< 0: none fails
    bool happened = false;

    void arm(int nth) {
        left = nth;
        happened = false;
    }
    bool fails() {
        if (left == 0 || --left > 0)
            return false;
        happened = true;
        return true;
    }
};

thread_local Countdown allocations;
thread_local Countdown writeLocks;
thread_local Countdown pauses;
thread_local Gate* pauseGate = nullptr;

}  // namespace

FailingAllocation::FailingAllocation(int nth) {
    allocations.arm(nth);
}

FailingAllocation::~FailingAllocation() {
    allocations.left = 0;
}

bool FailingAllocation::hasHappened() const {
    return allocations.happened;
}

FailingWriteLock::FailingWriteLock(int nth) {
    writeLocks.arm(nth);
}

FailingWriteLock::~FailingWriteLock() {
    writeLocks.left = 0;
}

bool FailingWriteLock::hasHappened() const {
    return writeLocks.happened;
}

PausedWriteLock::PausedWriteLock(int nth, Gate& gate) {
    pauses.arm(nth);
    pauseGate = &gate;
}

PausedWriteLock::~PausedWriteLock() {
    pauses.left = 0;
}

std::optional<int> BaseConfigFaults::maxSession;
bool BaseConfigFaults::hasNoRootPoa = false;

}  // namespace kelp::test

/// Replaces the program's allocation function for what is allocated without throwing.
__attribute__((visibility("default"))) void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (kelp::test::allocations.fails())
        return nullptr;
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// the linker (--wrap) leads the agent's calls here
extern "C" int __real_pthread_rwlock_wrlock(pthread_rwlock_t* lock);
extern "C" __attribute__((visibility("default"))) int __wrap_pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
    if (kelp::test::pauses.fails())
        kelp::test::pauseGate->pass();
    return kelp::test::writeLocks.fails() ? EDEADLK : __real_pthread_rwlock_wrlock(lock);
}

namespace NS_CORBA {

namespace {

template <class Function>
Function behind(const char* mangledName) {
    void* const found = ::dlsym(RTLD_NEXT, mangledName);
    if (found == nullptr)
        throw std::logic_error(mangledName);
    return reinterpret_cast<Function>(found);
}

}  // namespace

int CorbaBaseAgentConfig::GetMaxSession() const {
    if (kelp::test::BaseConfigFaults::maxSession)
        return *kelp::test::BaseConfigFaults::maxSession;
    using Operation = int (*)(const CorbaBaseAgentConfig*);
    static const auto real = behind<Operation>("_ZNK8NS_CORBA20CorbaBaseAgentConfig13GetMaxSessionEv");
    return real(this);
}

PortableServer::POA_ptr CorbaBaseAgentConfig::GetRootPoa() const {
    if (kelp::test::BaseConfigFaults::hasNoRootPoa)
        throw CORBA::BAD_INV_ORDER();
    using Operation = PortableServer::POA_ptr (*)(const CorbaBaseAgentConfig*);
    static const auto real = behind<Operation>("_ZNK8NS_CORBA20CorbaBaseAgentConfig10GetRootPoaEv");
    return real(this);
}

}  // namespace NS_CORBA
