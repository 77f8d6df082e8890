// Fixes a leak of requests with octets left over behind their arguments. The ORB closes the
// connection but leaves the request in the state in which a reply is still to come, and so never
// deletes it. Each such request takes about 9 KiB, and any peer could fill the memory with them.
//
// The dynamic linker prefers this definition to the ORB's, also for calls from within the ORB,
// because libkelp_orb precedes the ORB's library wherever it is linked.

#include <dlfcn.h>
#include <omniORB4/CORBA.h>

// a request's stream is declared only in the ORB's internal headers, whose order matters
// clang-format off
#include <omniORB4/IOP_S.h>
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/giopStreamImpl.h>
#include <omniORB4/internal/GIOP_S.h>
// clang-format on

__attribute__((visibility("default"))) CORBA::Boolean omni::GIOP_S::dispatcher() {
    using Function = CORBA::Boolean (*)(GIOP_S*);
    // the C++ ABI calls a member function like a function that takes the object
    static const auto ofTheOrb =
        reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "_ZN4omni6GIOP_S10dispatcherEv"));
    const CORBA::Boolean goesOn = ofTheOrb(this);
    if (!goesOn && state() == WaitingForReply)
        state(ReplyCompleted);
    return goesOn;
}
