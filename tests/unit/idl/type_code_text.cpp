#include "type_code_text.h"

#include <regex>

namespace {

/// Return "globaldefs::Time_T" for IDL:mtnm.tmforum.org/globaldefs/Time_T:1.0. An id of another
/// form is returned unchanged.
std::string scopedName(CORBA::TypeCode_ptr type) {
    static const std::regex form("IDL:(mtnm\\.tmforum|omg)\\.org/([\\w/]+):1\\.0");
    const std::string id(type->id());
    std::smatch match;
    return std::regex_match(id, match, form)
               ? std::regex_replace(match[2].str(), std::regex("/"), "::")
               : id;
}

std::string nameOf(CORBA::TypeCode_ptr type) {
    switch (type->kind()) {
        case CORBA::tk_short:
            return "short";
        case CORBA::tk_float:
            return "float";
        case CORBA::tk_boolean:
            return "boolean";
        case CORBA::tk_any:
            return "any";
        case CORBA::tk_string:
            return type->length() == 0 ? "string" : "bounded string";
        case CORBA::tk_sequence: {
            CORBA::TypeCode_var element = type->content_type();
            return (type->length() == 0 ? "sequence<" : "bounded sequence<") +
                   nameOf(element.in()) + ">";
        }
        default:
            return scopedName(type);
    }
}

std::string membersOf(CORBA::TypeCode_ptr type) {
    std::string text = " {";
    for (CORBA::ULong i = 0; i < type->member_count(); ++i) {
        CORBA::TypeCode_var member = type->member_type(i);
        text +=
            (i == 0 ? " " : "; ") + nameOf(member.in()) + " " + std::string(type->member_name(i));
    }
    return text + " }";
}

std::string enumeratorsOf(CORBA::TypeCode_ptr type) {
    std::string text = " {";
    for (CORBA::ULong i = 0; i < type->member_count(); ++i) {
        text += (i == 0 ? " " : ", ") + std::string(type->member_name(i));
    }
    return text + " }";
}

}  // namespace

std::string typeCodeText(CORBA::TypeCode_ptr type) {
    switch (type->kind()) {
        case CORBA::tk_struct:
            return "struct" + membersOf(type);
        case CORBA::tk_except:
            return "exception" + membersOf(type);
        case CORBA::tk_enum:
            return "enum" + enumeratorsOf(type);
        case CORBA::tk_union: {
            CORBA::TypeCode_var discriminator = type->discriminator_type();
            return "union switch (" + nameOf(discriminator.in()) + ")" + membersOf(type);
        }
        case CORBA::tk_alias: {
            CORBA::TypeCode_var aliased = type->content_type();
            return "typedef " + nameOf(aliased.in());
        }
        case CORBA::tk_objref:
            return "interface";
        default:
            return nameOf(type);
    }
}
