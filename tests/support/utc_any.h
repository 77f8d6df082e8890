#pragma once

#include <kelp/orb/dyn_any.h>

#include <cstdint>

namespace kelp::test {

/// Return a TimeBase::UtcT of this time, in units of 100 ns since 15 October 1582, as an any.
inline CORBA::Any utcAny(CORBA::ORB_ptr orb, std::uint64_t time) {
    CORBA::StructMemberSeq members;
    members.length(4);
    const auto member = [&](CORBA::ULong at, const char* name, CORBA::TypeCode_ptr type) {
        members[at].name = CORBA::string_dup(name);
        members[at].type = CORBA::TypeCode::_duplicate(type);
    };
    member(0, "time", CORBA::_tc_ulonglong);
    member(1, "inacclo", CORBA::_tc_ulong);
    member(2, "inacchi", CORBA::_tc_ushort);
    member(3, "tdf", CORBA::_tc_short);
    const CORBA::TypeCode_var type =
        orb->create_struct_tc("IDL:omg.org/TimeBase/UtcT:1.0", "UtcT", members);
    const CORBA::Object_var object = orb->resolve_initial_references("DynAnyFactory");
    const DynamicAny::DynAnyFactory_var factory = DynamicAny::DynAnyFactory::_narrow(object.in());
    const DynamicAny::DynAny_var made = factory->create_dyn_any_from_type_code(type.in());
    made->seek(0);
    made->insert_ulonglong(time);
    const CORBA::Any_var any = made->to_any();
    made->destroy();
    return any.in();
}

}  // namespace kelp::test
