#pragma once

#include <kelp/inventory/object_name.h>
#include <mtnm/globaldefs.h>

#include <initializer_list>

namespace kelp::managers {

/// The kinds of objects whose attributes a manager may set (TMF 814 common::Common_I). The
/// operations refuse a malformed name, or one of another kind, with EXCPT_INVALID_INPUT. They
/// refuse the name of an object that does not exist with EXCPT_ENTITY_NOT_FOUND.
using Kinds = std::initializer_list<inventory::ObjectKind>;

/// Set the user label. With `isUnique` refuse a label that another object of the kind has:
/// EXCPT_USERLABEL_IN_USE.
void setUserLabel(Kinds kinds, const globaldefs::NamingAttributes_T& object, const char* label,
                  bool isUnique);
/// Set the native EMS name. Refuse an empty name, because every object has one. Refuse the EMS
/// itself, whose name is configured: EXCPT_NOT_IMPLEMENTED.
void setNativeEmsName(Kinds kinds, const globaldefs::NamingAttributes_T& object, const char* name);
void setOwner(Kinds kinds, const globaldefs::NamingAttributes_T& object, const char* owner);

}  // namespace kelp::managers
