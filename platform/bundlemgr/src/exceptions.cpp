#include <kelp/bundlemgr/exceptions.h>

namespace NS_BUNDLEMGR1 {

ProcessException::ProcessException() = default;

ProcessException::ProcessException(ProcessException& other)
    : std::exception(other), code(other.code), detail(other.detail) {
    text1 << other.text1.rdbuf();
    text2 << other.text2.rdbuf();
    text3 << other.text3.rdbuf();
    text4 << other.text4.rdbuf();
    // inserting an empty buffer sets the fail bit, and the stream would accept no more text
    for (std::stringstream* const text : {&text1, &text2, &text3, &text4})
        text->clear();
}

ProcessException::~ProcessException() = default;

InterfaceNotExistException::InterfaceNotExistException() = default;
InterfaceNotExistException::InterfaceNotExistException(InterfaceNotExistException& other) = default;
InterfaceNotExistException::~InterfaceNotExistException() = default;

}  // namespace NS_BUNDLEMGR1
