#pragma once
/// The standard CORBA and PortableServer names of the ORB in use. The only way the rest of the
/// product includes the ORB, so that another ORB changes this folder alone.
#include <omniORB4/CORBA.h>
