#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <chrono>
#include <string>

namespace kelp::orb {

/// Return the exception with which the ORB answers a request for an object that no POA knows. A
/// servant manager throws the same one, so that a caller who guesses object keys does not learn
/// which POAs exist.
KELP_EXPORT CORBA::OBJECT_NOT_EXIST unknownObject();

/// Return whether the POA or one of its ancestors is being destroyed or is gone. Nil counts as
/// dying.
KELP_EXPORT bool isDying(PortableServer::POA_ptr poa);

/// Return the name of the root POA's child that is `poa` itself or its ancestor. Empty for the root
/// itself, for nil and for a dead POA.
KELP_EXPORT std::string topPoaName(PortableServer::POA_ptr poa);

/// Return the name of the top POA of the request or in-process call that runs on this thread,
/// according to POACurrent. Empty outside a call.
KELP_EXPORT std::string currentTopPoaName(CORBA::ORB_ptr orb);

/// Begin to destroy a POA and to etherealize its objects, without waiting for the end. If the POA
/// is a child of the root, its name is remembered until its calls in progress have ended and its
/// objects are etherealized. No reference to the POA is kept. Callable from any thread, also inside
/// a call on the POA. Throws what POA::destroy throws, and BAD_PARAM for nil.
KELP_EXPORT void beginDestroy(PortableServer::POA_ptr poa);

/// Return whether a child of the root POA with this name was passed to beginDestroy() and is not
/// gone yet.
KELP_EXPORT bool isNameDying(const std::string& name);

/// Wait until isNameDying(name) is false, for at most `limit`. Return false when the POA is still
/// dying. Must not be called from inside a call on the dying POA, because it would wait for that
/// call.
KELP_EXPORT bool waitUntilGone(const std::string& name, std::chrono::milliseconds limit);

}  // namespace kelp::orb
