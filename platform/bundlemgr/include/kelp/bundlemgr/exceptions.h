#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <exception>
#include <sstream>

namespace NS_BUNDLEMGR1 {

/// The general failure of a platform service call. Never crosses the CORBA boundary. Handlers
/// distinguish failures by their dynamic type, because what() is not overridden.
class KELP_EXPORT ProcessException : public std::exception {
  public:
    ProcessException();
    /// Copies the numbers, and inserts the other object's stream buffers into the new streams. This
    /// moves the read positions of the other object; therefore its reference is not const.
    ProcessException(ProcessException& other);
    ~ProcessException() override;

    std::int32_t code = 0;
    std::int32_t detail = 0;
    std::stringstream text1;
    std::stringstream text2;
    std::stringstream text3;
    std::stringstream text4;
};

/// The bundle manager does not have an interface with the requested name.
class KELP_EXPORT InterfaceNotExistException : public ProcessException {
  public:
    InterfaceNotExistException();
    InterfaceNotExistException(InterfaceNotExistException& other);
    ~InterfaceNotExistException() override;
};

}  // namespace NS_BUNDLEMGR1
