// Texts that no code set is applied to: ids of types and exceptions, hosts of profiles. The ORB's own
// function loses the text's memory when it does not end in a zero octet or the message breaks off in it,
// which lets any peer fill the memory. The dynamic linker takes this one for the ORB as well, since this
// library stands before the ORB's wherever it is linked.

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
    get_octet_array(reinterpret_cast<_CORBA_Octet*>(text.inout()), length);
    if (text[length - 1] != '\0')
        throw CORBA::MARSHAL(omni::MARSHAL_StringNotEndWithNull, completed);
    return text._retn();
}
