"""omniidl back end: prints every definition of an IDL file as one line in canonical form.

A line contains everything that affects the messages on the wire: repository id, order, types, directions and exceptions.
It omits layout, comments and include files. This command makes the committed listing of the interface:

    cd idl/mtnm && LC_ALL=C omniidl -p../tools -bidl_digest -I<OMG IDL> -I<OMG IDL>/COS *.idl

A test compares the listing with the IDL files, so that a change of the interface is always noticed.
"""

from omniidl import idlast, idltype

BASIC = {
    idltype.tk_void: "void",
    idltype.tk_short: "short",
    idltype.tk_long: "long",
    idltype.tk_longlong: "long long",
    idltype.tk_ushort: "unsigned short",
    idltype.tk_ulong: "unsigned long",
    idltype.tk_ulonglong: "unsigned long long",
    idltype.tk_float: "float",
    idltype.tk_double: "double",
    idltype.tk_boolean: "boolean",
    idltype.tk_char: "char",
    idltype.tk_octet: "octet",
    idltype.tk_any: "any",
}
DIRECTIONS = ("in", "out", "inout")


def scoped(name):
    return "::".join(name)


def type_name(t):
    if t.kind() in BASIC:
        return BASIC[t.kind()]
    if isinstance(t, idltype.String):
        return "string<%d>" % t.bound() if t.bound() else "string"
    if isinstance(t, idltype.Sequence):
        bound = ",%d" % t.bound() if t.bound() else ""
        return "sequence<%s%s>" % (type_name(t.seqType()), bound)
    if isinstance(t, idltype.Declared):
        return scoped(t.scopedName())
    raise NotImplementedError("type of kind %d" % t.kind())


def declared(type_node, declarator):
    return type_name(type_node) + "".join("[%d]" % size for size in declarator.sizes())


def members(node):
    return "; ".join(
        "%s %s" % (declared(m.memberType(), d), d.identifier()) for m in node.members() for d in m.declarators()
    )


def case_label(label):
    if label.default():
        return "default"
    value = label.value()
    return value.identifier() if isinstance(value, idlast.Enumerator) else str(value)


def line(node, text):
    print("%s %s" % (node.repoId(), text))


def on_typedef(node):
    for d in node.declarators():
        line(d, "typedef " + declared(node.aliasType(), d))


def on_struct(node):
    line(node, "struct { %s }" % members(node))


def on_exception(node):
    line(node, "exception { %s }" % members(node))


def on_enum(node):
    line(node, "enum { %s }" % ", ".join(e.identifier() for e in node.enumerators()))


def on_union(node):
    cases = (
        "case %s: %s %s"
        % (
            " ".join(case_label(label) for label in c.labels()),
            declared(c.caseType(), c.declarator()),
            c.declarator().identifier(),
        )
        for c in node.cases()
    )
    line(node, "union switch (%s) { %s }" % (type_name(node.switchType()), "; ".join(cases)))


def on_attribute(node):
    for d in node.declarators():
        line(d, "%sattribute %s" % ("readonly " if node.readonly() else "", type_name(node.attrType())))


def on_operation(node):
    parameters = ", ".join(
        "%s %s %s" % (DIRECTIONS[p.direction()], type_name(p.paramType()), p.identifier()) for p in node.parameters()
    )
    raises = ", ".join(scoped(e.scopedName()) for e in node.raises())
    line(
        node,
        "%soperation %s (%s)%s"
        % (
            "oneway " if node.oneway() else "",
            type_name(node.returnType()),
            parameters,
            " raises (%s)" % raises if raises else "",
        ),
    )


def on_interface(node):
    bases = ", ".join(scoped(b.scopedName()) for b in node.inherits())
    line(node, "interface" + (" : " + bases if bases else ""))
    for content in node.contents():
        on_definition(content)


def on_module(node):
    for definition in node.definitions():
        on_definition(definition)


HANDLERS = {
    idlast.Module: on_module,
    idlast.Interface: on_interface,
    idlast.Operation: on_operation,
    idlast.Attribute: on_attribute,
    idlast.Typedef: on_typedef,
    idlast.Struct: on_struct,
    idlast.Exception: on_exception,
    idlast.Union: on_union,
    idlast.Enum: on_enum,
}


def on_definition(node):
    if node.mainFile():
        HANDLERS[type(node)](node)


def run(tree, _arguments):
    for declaration in tree.declarations():
        on_definition(declaration)
