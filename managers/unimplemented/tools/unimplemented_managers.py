"""omniidl back end: generates a servant for every manager interface. It answers each operation with
EXCPT_NOT_IMPLEMENTED.

A manager interface is one that inherits common::Common_I directly. The output is C++ for unimplemented_managers.cpp: one
specialisation of Unimplemented<Skeleton> for each interface. An operation that is added to the IDL needs no new code.

    omniidl -p<this folder> -bunimplemented_managers -Wbout=<file> -I<OMG IDL> <one file that includes all others>
"""

from omniidl import idlast, idltype

BASE = ["common", "Common_I"]

BASIC = {
    idltype.tk_short: "CORBA::Short",
    idltype.tk_ushort: "CORBA::UShort",
    idltype.tk_long: "CORBA::Long",
    idltype.tk_ulong: "CORBA::ULong",
    idltype.tk_longlong: "CORBA::LongLong",
    idltype.tk_ulonglong: "CORBA::ULongLong",
    idltype.tk_float: "CORBA::Float",
    idltype.tk_double: "CORBA::Double",
    idltype.tk_boolean: "CORBA::Boolean",
    idltype.tk_char: "CORBA::Char",
    idltype.tk_octet: "CORBA::Octet",
}
BY_REFERENCE = (idltype.tk_struct, idltype.tk_union, idltype.tk_sequence)
IN, OUT, INOUT = 0, 1, 2


def cpp_name(scoped_name):
    return "::".join(scoped_name)


def resolved(given):
    """Return the type behind typedefs. Arrays have a special mapping, which no operation here needs."""
    while isinstance(given, idltype.Declared) and isinstance(given.decl(), idlast.Declarator):
        if given.decl().sizes():
            raise NotImplementedError("array " + cpp_name(given.scopedName()))
        given = given.decl().alias().aliasType()
    return given


def parameter(given, direction):
    """Return the C++ type of a parameter in the standard mapping."""
    kind = resolved(given).kind()
    if kind == idltype.tk_string:
        return ("const char*", "CORBA::String_out", "char*&")[direction]
    if kind in BASIC:
        return (BASIC[kind], BASIC[kind] + "_out", BASIC[kind] + "&")[direction]
    if not isinstance(given, idltype.Declared):
        raise NotImplementedError("parameter of kind %d" % kind)
    name = cpp_name(given.scopedName())
    if kind == idltype.tk_enum:
        return (name, name + "_out", name + "&")[direction]
    if kind == idltype.tk_objref:
        return (name + "_ptr", name + "_out", name + "_ptr&")[direction]
    if kind in BY_REFERENCE:
        return ("const " + name + "&", name + "_out", name + "&")[direction]
    raise NotImplementedError("parameter of kind %d" % kind)


def operations(interface):
    """Yield the operations of the interface, after those that it inherits."""
    for base in interface.inherits():
        yield from operations(base)
    for each in interface.contents():
        if isinstance(each, idlast.Attribute):
            raise NotImplementedError("attribute in " + cpp_name(interface.scopedName()))
        if isinstance(each, idlast.Operation):
            yield each


def method(operation):
    name = cpp_name(operation.scopedName())
    if operation.returnType().kind() != idltype.tk_void:
        raise NotImplementedError("result of " + name)
    if not any(each.scopedName() == ["globaldefs", "ProcessingFailureException"] for each in operation.raises()):
        raise NotImplementedError(name + " cannot raise ProcessingFailureException")
    types = [parameter(each.paramType(), each.direction()) for each in operation.parameters()]
    return "    void %s(%s) override { notImplemented(); }\n" % (operation.identifier(), ", ".join(types))


def managers(declarations):
    for each in declarations:
        if isinstance(each, idlast.Module):
            yield from managers(each.definitions())
        elif isinstance(each, idlast.Interface):
            if any(base.scopedName() == BASE for base in each.inherits()):
                yield each


def run(tree, args):
    out = next(each[len("out="):] for each in args if each.startswith("out="))
    with open(out, "w", encoding="utf-8") as file:
        file.write("// Made by unimplemented_managers.py from the IDL of the manager interfaces.\n")
        for each in managers(tree.declarations()):
            skeleton = "POA_" + cpp_name(each.scopedName())
            file.write("\ntemplate <>\nclass Unimplemented<%s> final : public virtual %s {\n  public:\n"
                       % (skeleton, skeleton))
            for operation in operations(each):
                file.write(method(operation))
            file.write("};\n")
