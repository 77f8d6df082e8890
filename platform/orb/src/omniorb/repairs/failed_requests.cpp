// Requests that break off while their arguments end. The ORB takes them for requests whose reply is still to
// come, and never deletes what it holds of them: some 9 KiB each, which lets any peer fill the memory. The
// dynamic linker takes this function for the ORB as well, since this library stands before the ORB's wherever
// it is linked.

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
