#pragma once
/// The CORBA and PortableServer names of the ORB in use. The rest of the product includes the ORB
/// only through this header, so that another ORB changes this folder alone.
#include <omniORB4/CORBA.h>
