#pragma once

#include <omniORB4/CORBA.h>

class omniCallDescriptor;

namespace omni {
class GIOP_S;
}

namespace kelp::orb {

/// Checks whether the reply to the current request can be written in the code set that its client
/// has chosen. The ORB finds out only while it writes the reply. By then it can no longer answer
/// anything else and closes the connection, with every other call on it. So the reply to a client
/// with another code set than this process's is first encoded for trial. That doubles the cost of
/// encoding it.
///
/// Each thread has a current request. All functions are for the thread that serves it.
class TrialEncoding {
  public:
    /// Set the request that this thread has read. Borrowed until forget().
    static void begin(omni::GIOP_S& request);
    static void forget();

    /// Throw DATA_CONVERSION, completed YES, when the results cannot be written.
    static void requireWritable(omniCallDescriptor& call);
    /// The same for the user exception that is the answer.
    static void requireWritable(const CORBA::UserException& answer);
};

}  // namespace kelp::orb
