#pragma once

#include <kelp/orb/corba.h>

namespace NS_KELPCORBA {

class IteratorList;

/// Activate a new iterator in its `_default_POA` and list it, as SessionMgr::add_iterator
/// describes: the limits of the base configuration apply, and iterators that are evicted are
/// closed. Return 0 and the iterator's reference, or an error code and nil.
unsigned long openIterator(IteratorList& list, PortableServer::ServantBase* iterator,
                           CORBA::Object_var& reference);

}  // namespace NS_KELPCORBA
