#include <kelp/orb/references.h>

namespace kelp::orb {

bool describe(CORBA::ORB_ptr orb, CORBA::Object_ptr reference, ReferenceContent& content) {
    content = {};
    if (CORBA::is_nil(orb) || CORBA::is_nil(reference))
        return false;
    try {
        const CORBA::String_var text = orb->object_to_string(reference);
        return decodeReference(text.in(), content);
    } catch (const CORBA::Exception&) {
        // a local object has no text
        return false;
    }
}

CORBA::Object_ptr toReference(CORBA::ORB_ptr orb, const std::string& text) {
    if (CORBA::is_nil(orb) || text.find('\0') != std::string::npos)
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    CORBA::Object_var reference = orb->string_to_object(text.c_str());
    if (CORBA::is_nil(reference.in()))
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    return reference._retn();
}

}  // namespace kelp::orb
