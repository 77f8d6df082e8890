// Requests with octets left over behind their arguments. The ORB closes the connection but leaves
// the request in the state in which a reply is still to come, and so never deletes it: some 9 KiB
// each, and any peer can fill the memory with them. The dynamic linker prefers this definition to
// the ORB's, also for calls from within the ORB, because libkelp_orb stands before the ORB's
// library wherever it is linked.

#include <dlfcn.h>
#include <omniORB4/CORBA.h>

// the stream of a request is only in the ORB's internal headers, whose order matters
// clang-format off
#include <omniORB4/IOP_S.h>
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/giopStreamImpl.h>
#include <omniORB4/internal/GIOP_S.h>
// clang-format on

__attribute__((visibility("default"))) CORBA::Boolean omni::GIOP_S::dispatcher() {
    using Function = CORBA::Boolean (*)(GIOP_S*);
    // a member function is called as a function of the object (C++ ABI)
    static const auto ofTheOrb =
        reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "_ZN4omni6GIOP_S10dispatcherEv"));
    const CORBA::Boolean goesOn = ofTheOrb(this);
    if (!goesOn && state() == WaitingForReply)
        state(ReplyCompleted);
    return goesOn;
}
