// Fixes a leak of texts to which no code set applies: ids of types and exceptions, and hosts of
// profiles. The ORB's own function leaks a text that does not end in a zero octet, or in which the
// message ends, and any peer could fill the memory with such texts.
//
// The dynamic linker prefers this definition to the ORB's, also for calls from within the ORB,
// because libkelp_orb precedes the ORB's library wherever it is linked.

#include <omniORB4/CORBA.h>

__attribute__((visibility("default"))) char* cdrStream::unmarshalRawString() {
    const auto completed = static_cast<CORBA::CompletionStatus>(completion());
    _CORBA_ULong length;
    length <<= *this;
    if (length == 0)
        throw CORBA::MARSHAL(omni::MARSHAL_StringNotEndWithNull, completed);
    if (!checkInputOverrun(1, length))
        throw CORBA::MARSHAL(omni::MARSHAL_PassEndOfMessage, completed);
    CORBA::String_var text = CORBA::string_alloc(length - 1);
    get_octet_array(reinterpret_cast<_CORBA_Octet*>(text.inout()), static_cast<int>(length));
    if (text[length - 1] != '\0')
        throw CORBA::MARSHAL(omni::MARSHAL_StringNotEndWithNull, completed);
    return text._retn();
}
