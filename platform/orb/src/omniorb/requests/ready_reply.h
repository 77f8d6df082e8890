#pragma once

#include <kelp/orb/ready_entries.h>
#include <omniORB4/CORBA.h>

class omniCallDescriptor;

namespace omni {
class GIOP_S;
}

namespace kelp::orb {

/// Replies that contain ready entries. The ORB writes the results of a call with its call
/// descriptor, which the skeleton has made. When a servant has given ready entries, the descriptor
/// of the request is replaced by one that writes the results of the first and puts the entries in.
///
/// Each thread has a request in hand. All functions are for the thread that serves it.
class ReadyReply {
  public:
    /// Set the request that this thread has read. Borrowed until the next one or forget().
    static void begin(omni::GIOP_S& request);
    static void forget();

    /// A servant runs while this scope lasts. Scopes nest, because a servant may call another one
    /// inside the process.
    class Scope {
      public:
        /// For a call inside the process: the servant cannot give ready entries.
        Scope();
        /// For an upcall. The servant can give ready entries if the ORB writes the reply to the
        /// request in hand with this descriptor.
        explicit Scope(omniCallDescriptor& call);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

        /// The servant has returned: let the reply contain what it has given.
        void finish();

      private:
        omni::GIOP_S* const before_;
    };
};

}  // namespace kelp::orb
