#pragma once

#include <omniORB4/CORBA.h>

class omniCallDescriptor;

namespace omni {
class GIOP_S;
}

namespace kelp::orb {

/// Whether the reply to the request in hand can be written in the code set that its client has
/// chosen. The ORB finds out only while it writes the reply; by then it can no longer answer
/// anything else and closes the connection, with every other call on it. So a client whose code set
/// is another than this process's has its replies tried out first, at the cost of encoding them
/// twice.
///
/// Each thread has the request that it serves; all functions are for the thread that serves it.
class ReplyCheck {
  public:
    /// The request that this thread has read. Borrowed until forget().
    static void begin(omni::GIOP_S& request);
    static void forget();

    /// Throws DATA_CONVERSION, completed YES, when the results cannot be written.
    static void requireWritable(omniCallDescriptor& call);
    /// The same for the exception that is to be the answer.
    static void requireWritable(const CORBA::UserException& answer);
};

}  // namespace kelp::orb
