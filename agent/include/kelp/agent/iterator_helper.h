#pragma once

#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

namespace NS_KELPCORBA {

/// How a manager of any bundle opens the iterators that it returns and closes those that are used
/// up (TMF 814, iterators). Any thread; no operation throws.
class KELP_EXPORT TAIteratorHelper {
  public:
    /// The POA that the caller is to activate its iterator in: the "iterator" POA of the session
    /// whose request runs on this thread. The reference is the caller's. Nil, which is traced,
    /// outside such a request.
    static PortableServer::POA_ptr getIteratorPoa();

    /// Activates an iterator, whose `_default_POA` is the one above, and counts it as open. 0: the
    /// caller's reference on it is taken over, and it lives until it is deactivated, closed as the
    /// oldest of too many, or its session ends. Otherwise an error code for the error translation,
    /// and the iterator is the caller's: 0x41180102 (EXCPT_TOO_MANY_OPEN_ITERATORS), 0x411800BA or
    /// 0x411800BE (EXCPT_INTERNAL_ERROR).
    static unsigned long add_Iterator(PortableServer::ServantBase* iterator);

    /// The same, with the iterator's reference for the NMS; nil when it is not opened.
    static unsigned long add_Iterator(PortableServer::ServantBase* iterator,
                                      CORBA::Object_var& reference);

    /// Deactivates an iterator, for its `destroy` and after its last batch. The calls on it that
    /// run go on, the last of them frees it. Nothing while its POA is being destroyed, which takes
    /// it along.
    static void deactive_object(PortableServer::ServantBase* iterator);
};

}  // namespace NS_KELPCORBA
