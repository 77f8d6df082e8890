#pragma once

#include <kelp/inventory/object_name.h>
#include <mtnm/globaldefs.h>

#include <initializer_list>

namespace kelp::managers {

/// The kinds of objects whose attributes a manager sets (TMF 814 common::Common_I); another kind is
/// refused as a wrong name. A name of none is refused with EXCPT_INVALID_INPUT, one of an object
/// that is not there with EXCPT_ENTITY_NOT_FOUND.
using Kinds = std::initializer_list<inventory::ObjectKind>;

/// Refuses a label that another object of the kind has, when it shall be unique:
/// EXCPT_USERLABEL_IN_USE.
void setUserLabel(Kinds kinds, const globaldefs::NamingAttributes_T& object, const char* label,
                  bool isUnique);
/// Refuses an empty name: every object has one. That of the EMS is configured:
/// EXCPT_NOT_IMPLEMENTED.
void setNativeEmsName(Kinds kinds, const globaldefs::NamingAttributes_T& object, const char* name);
void setOwner(Kinds kinds, const globaldefs::NamingAttributes_T& object, const char* owner);

}  // namespace kelp::managers
