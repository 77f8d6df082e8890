#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <exception>
#include <sstream>

namespace NS_BUNDLEMGR1 {

/// The general failure of a platform service call. Never crosses the CORBA boundary; catchers go by
/// the dynamic type: `what` is the inherited one.
class KELP_EXPORT ProcessException : public std::exception {
  public:
    ProcessException();
    /// Takes the numbers and inserts the source's stream buffers into the new streams, which moves
    /// the source's read positions; hence the non-const reference.
    ProcessException(ProcessException& other);
    ~ProcessException() override;

    std::int32_t code = 0;
    std::int32_t detail = 0;
    std::stringstream text1;
    std::stringstream text2;
    std::stringstream text3;
    std::stringstream text4;
};

/// A named service interface cannot be had from the bundle manager.
class KELP_EXPORT InterfaceNotExistException : public ProcessException {
  public:
    InterfaceNotExistException();
    InterfaceNotExistException(InterfaceNotExistException& other);
    ~InterfaceNotExistException() override;
};

}  // namespace NS_BUNDLEMGR1
