#include "faults.h"

#include <ace/Thread_Manager.h>
#include <dlfcn.h>
#include <kelp/corbabase/base_config.h>
#include <link.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

namespace kelp::test {

namespace {

/// Counts down to the one call that fails.
struct Countdown {
    int left = 0;  ///< calls until the failure; 0 for no failure
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

/// The address range of a library's code.
struct CodeRange {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    bool contains(const void* address) const {
        const auto at = reinterpret_cast<std::uintptr_t>(address);
        return at >= begin && at < end;
    }
};

CodeRange codeOf(const char* library) {
    struct Search {
        const char* name;
        CodeRange found;
    } search{library, {}};
    ::dl_iterate_phdr(
        [](dl_phdr_info* each, std::size_t, void* argument) {
            auto& [name, found] = *static_cast<Search*>(argument);
            if (std::strstr(each->dlpi_name, name) == nullptr)
                return 0;
            for (int i = 0; i < each->dlpi_phnum; ++i) {
                const auto& part = each->dlpi_phdr[i];
                if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0)
                    continue;
                found.begin = each->dlpi_addr + part.p_vaddr;
                found.end = found.begin + part.p_memsz;
            }
            return 1;
        },
        &search);
    if (search.found.end == 0)
        throw std::logic_error(std::string("not in this program: ") + library);
    return search.found;
}

/// True for callers whose allocations must not fail. The ORB ends the process if it has no memory
/// for a POA, ACE if it has none for a thread. If a generated stub has no memory for an object
/// reference, the ORB leaks what it had allocated for it.
bool isOfOthers(const void* caller) {
    static const CodeRange orb = codeOf("libomniORB4.so");
    static const CodeRange ace = codeOf("libACE");
    static const CodeRange stubs = codeOf("libkelp_mtnm.so");
    return orb.contains(caller) || ace.contains(caller) || stubs.contains(caller);
}

thread_local Countdown allocations;
thread_local Countdown throwingAllocations;
thread_local bool hasNoThreads = false;
thread_local Countdown writeLocks;
thread_local Countdown pauses;
thread_local Latch* pauseGate = nullptr;

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

FailingNew::FailingNew(int nth) {
    isOfOthers(nullptr);  // look the libraries up now, while memory does not fail
    throwingAllocations.arm(nth);
}

FailingNew::~FailingNew() {
    throwingAllocations.left = 0;
}

bool FailingNew::hasHappened() const {
    return throwingAllocations.happened;
}

NoThreads::NoThreads() {
    hasNoThreads = true;
}

NoThreads::~NoThreads() {
    hasNoThreads = false;
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

PausedWriteLock::PausedWriteLock(int nth, Latch& gate) {
    pauses.arm(nth);
    pauseGate = &gate;
}

PausedWriteLock::~PausedWriteLock() {
    pauses.left = 0;
}

std::optional<int> BaseConfigFaults::maxSession;
bool BaseConfigFaults::hasNoRootPoa = false;

}  // namespace kelp::test

/// Replaces the allocation functions of the program and all its libraries.
__attribute__((visibility("default"))) void* operator new(std::size_t size) {
    using kelp::test::throwingAllocations;
    const bool fails = throwingAllocations.left > 0 &&
                       !kelp::test::isOfOthers(__builtin_return_address(0)) &&
                       throwingAllocations.fails();
    void* const memory = fails ? nullptr : std::malloc(std::max<std::size_t>(size, 1));
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

__attribute__((visibility("default"))) void operator delete(void* memory) noexcept {
    std::free(memory);
}

__attribute__((visibility("default"))) void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

__attribute__((visibility("default"))) void operator delete(void* memory,
                                                            const std::nothrow_t&) noexcept {
    std::free(memory);
}

/// Allocations that do not throw.
__attribute__((visibility("default"))) void* operator new(std::size_t size,
                                                          const std::nothrow_t&) noexcept {
    if (kelp::test::allocations.fails())
        return nullptr;
    return std::malloc(std::max<std::size_t>(size, 1));
}

// the linker (--wrap) redirects the agent's calls to these functions
extern "C" int __real_pthread_rwlock_wrlock(pthread_rwlock_t* lock);
extern "C" __attribute__((visibility("default"))) int __wrap_pthread_rwlock_wrlock(
    pthread_rwlock_t* lock) {
    if (kelp::test::pauses.fails())
        kelp::test::pauseGate->pass();
    return kelp::test::writeLocks.fails() ? EDEADLK : __real_pthread_rwlock_wrlock(lock);
}

/// ACE_Thread_Manager::spawn is a member function: its object is the first parameter.
#define KELP_ACE_SPAWN _ZN18ACE_Thread_Manager5spawnEPFPvS0_ES0_lPmS3_liS0_mPPKc
#define KELP_JOINED_(a, b) a##b
#define KELP_JOINED(a, b) KELP_JOINED_(a, b)
#define KELP_SPAWN_PARAMETERS                                                               \
    ACE_Thread_Manager *manager, ACE_THR_FUNC body, void *argument, long flags,             \
        ACE_thread_t *thread, ACE_hthread_t *handle, long priority, int group, void *stack, \
        size_t stackSize, const char **name
extern "C" int KELP_JOINED(__real_, KELP_ACE_SPAWN)(KELP_SPAWN_PARAMETERS);
extern "C"
    __attribute__((visibility("default"))) int KELP_JOINED(__wrap_,
                                                           KELP_ACE_SPAWN)(KELP_SPAWN_PARAMETERS);
extern "C" int KELP_JOINED(__wrap_, KELP_ACE_SPAWN)(KELP_SPAWN_PARAMETERS) {
    if (kelp::test::hasNoThreads)
        return -1;
    return KELP_JOINED(__real_, KELP_ACE_SPAWN)(manager, body, argument, flags, thread, handle,
                                                priority, group, stack, stackSize, name);
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
    static const auto real =
        behind<Operation>("_ZNK8NS_CORBA20CorbaBaseAgentConfig13GetMaxSessionEv");
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
