#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <chrono>
#include <string>

namespace kelp::orb {

/// What this ORB answers to a request for an object that no POA knows. A servant manager throws the
/// same, so that a caller who guesses object keys does not learn which POAs there are.
KELP_EXPORT CORBA::OBJECT_NOT_EXIST unknownObject();

/// True when the POA or one of its ancestors is being destroyed or gone. Nil counts as dying.
KELP_EXPORT bool isDying(PortableServer::POA_ptr poa);

/// Name of the root POA's child above (or equal to) `poa`; empty for the root itself, nil or a dead
/// POA.
KELP_EXPORT std::string topPoaName(PortableServer::POA_ptr poa);

/// Name of the top POA of the request or in-process call that runs on this thread, by POACurrent;
/// empty outside one.
KELP_EXPORT std::string currentTopPoaName(CORBA::ORB_ptr orb);

/// Begins to destroy a POA (objects etherealized, no wait) and, if it is a child of the root,
/// remembers its name until it is really gone: calls in progress ended, objects etherealized. The
/// POA itself is not kept. From any thread, also inside a call on it. Throws what POA::destroy
/// throws, BAD_PARAM for nil.
KELP_EXPORT void beginDestroy(PortableServer::POA_ptr poa);

/// True while a child of the root POA with this name, given to beginDestroy(), is not yet gone.
KELP_EXPORT bool isNameDying(const std::string& name);

/// Waits until isNameDying(name) is false, at most `limit`. False when it is still dying. Never
/// from inside a call on the dying POA, which it would wait for.
KELP_EXPORT bool waitUntilGone(const std::string& name, std::chrono::milliseconds limit);

}  // namespace kelp::orb
