#pragma once

#include <mtnm/globaldefs.h>

#include <string>

/// Return a type in the form of the interface listing, as the TypeCode describes it to the receiver
/// of an Any: "struct { string name; string value }". Case labels of unions and base interfaces are
/// not included.
std::string typeCodeText(CORBA::TypeCode_ptr type);
