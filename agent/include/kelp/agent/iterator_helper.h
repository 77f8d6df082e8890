#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

namespace NS_KELPCORBA {

/// Opens the iterators that a manager of any bundle returns, and closes those that are used up (TMF
/// 814, iterators). Any thread may call it. No operation throws.
class KELP_EXPORT TAIteratorHelper {
  public:
    /// Return the POA for a new iterator: the "iterator" POA of the session whose request runs on
    /// this thread. The caller owns the reference. Outside such a request trace it and return nil.
    static PortableServer::POA_ptr getIteratorPoa();

    /// Activate an iterator and count it as open. Its `_default_POA` must be the POA that
    /// getIteratorPoa returns.
    ///
    /// On success return 0 and take over the caller's reference. The iterator then lives until it
    /// is deactivated, until it is evicted as the oldest one when the limit is exceeded, or until
    /// its session ends. On failure return an error code for the error translation, and the caller
    /// keeps the iterator: 0x41180102 (EXCPT_TOO_MANY_OPEN_ITERATORS), 0x411800BA or 0x411800BE
    /// (EXCPT_INTERNAL_ERROR).
    static unsigned long add_Iterator(PortableServer::ServantBase* iterator);

    /// The same, and also return the iterator's reference for the NMS. The reference is nil on
    /// failure.
    static unsigned long add_Iterator(PortableServer::ServantBase* iterator,
                                      CORBA::Object_var& reference);

    /// Deactivate an iterator, after its last batch or for its `destroy`. Calls in progress finish,
    /// and the last one frees the iterator. Does nothing while the POA is being destroyed, because
    /// that deactivates the iterator too.
    static void deactive_object(PortableServer::ServantBase* iterator);
};

}  // namespace NS_KELPCORBA
