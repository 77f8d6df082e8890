"""omniidl back end: writes the parameter shapes of every operation that takes an any or a TypeCode.

The result is C++ for platform/orb/src/giop/arguments/operation_shapes.cpp: nodes, parts and operations. An operation
is in the table if one of its in or inout parameters holds an any or a TypeCode. A request names only the operation, so
one name with two different shapes is an error: the check could not know which shape to apply.

    omniidl -p<this folder> -bargument_shapes -Wbout=<file> -I<OMG IDL> <one file that includes all others>
"""

from omniidl import idlast, idltype

# size and alignment in octets
NUMBERS = {
    idltype.tk_short: 2,
    idltype.tk_ushort: 2,
    idltype.tk_long: 4,
    idltype.tk_ulong: 4,
    idltype.tk_longlong: 8,
    idltype.tk_ulonglong: 8,
    idltype.tk_float: 4,
    idltype.tk_double: 8,
    idltype.tk_boolean: 1,
    idltype.tk_char: 1,
    idltype.tk_octet: 1,
    idltype.tk_enum: 4,
}
PLAIN = {
    idltype.tk_any: "Any",
    idltype.tk_TypeCode: "TypeCode",
    idltype.tk_string: "Text",
    idltype.tk_wstring: "WideText",
    idltype.tk_wchar: "WideChar",
    idltype.tk_objref: "Reference",
}
INSPECTED = ("Any", "TypeCode")


class Shapes:
    """The node table. Equal types share a node. A node refers to others by their place."""

    def __init__(self, unions=False):
        self.unions = unions  # unions are only searched for anys: no table can express them
        self.nodes = []
        self.parts = []
        self.known = {}
        self.declared = {}

    def node(self, kind, size=0, length=0, parts=()):
        key = (kind, size, length, tuple(parts))
        if key not in self.known:
            self.known[key] = self.add(*key)
        return self.known[key]

    def add(self, kind, size, length, parts):
        self.nodes.append((kind, size, length, len(self.parts), len(parts)))
        self.parts += parts
        return len(self.nodes) - 1

    def arrays(self, element, sizes):
        for size in reversed(sizes):
            element = self.node("Array", length=size, parts=(element,))
        return element

    def of(self, given):
        if isinstance(given, idltype.Declared):
            name = tuple(given.scopedName())
            if name not in self.declared:
                self.declared[name] = None  # a recursive type finds this
                self.declared[name] = self.of_declaration(given.decl())
            if self.declared[name] is None:
                raise NotImplementedError("recursive type %s" % "::".join(name))
            return self.declared[name]
        if given.kind() in NUMBERS:
            return self.node("Number", size=NUMBERS[given.kind()])
        if given.kind() in PLAIN:
            return self.node(PLAIN[given.kind()])
        if isinstance(given, idltype.Sequence):
            return self.node("Sequence", parts=(self.of(given.seqType()),))
        raise NotImplementedError("type of kind %d" % given.kind())

    def of_declaration(self, declaration):
        if isinstance(declaration, idlast.Declarator):
            return self.arrays(self.of(declaration.alias().aliasType()), declaration.sizes())
        if isinstance(declaration, idlast.Struct):
            return self.node("Struct", parts=tuple(self.members(declaration.members())))
        if isinstance(declaration, idlast.Union) and self.unions:
            return self.node("Struct", parts=tuple(self.of(case.caseType()) for case in declaration.cases()))
        if isinstance(declaration, idlast.Enum):
            return self.node("Number", size=4)
        if isinstance(declaration, (idlast.Interface, idlast.Forward)):
            return self.node("Reference")
        raise NotImplementedError("declaration %s" % type(declaration).__name__)

    def members(self, members):
        for member in members:
            for declarator in member.declarators():
                yield self.arrays(self.of(member.memberType()), declarator.sizes())

    def is_inspected(self, node):
        kind, _, _, first, count = self.nodes[node]
        return kind in INSPECTED or any(self.is_inspected(part) for part in self.parts[first : first + count])


def interfaces(declarations):
    for declaration in declarations:
        if isinstance(declaration, idlast.Module):
            yield from interfaces(declaration.definitions())
        elif isinstance(declaration, idlast.Interface):
            yield declaration


def operations(interface):
    """Yield each operation's name and the types of the parameters that a request carries."""
    for content in interface.callables():
        if isinstance(content, idlast.Operation):
            yield content.identifier(), [p.paramType() for p in content.parameters() if p.is_in()]
        elif isinstance(content, idlast.Attribute):
            for name in content.identifiers():
                yield "_get_" + name, []
                if not content.readonly():
                    yield "_set_" + name, [content.attrType()]


def collect(tree, shapes, wanted=None):
    """Return the name and shapes of the wanted operations, or of all."""
    found = {}
    for interface in interfaces(tree.declarations()):
        for name, types in operations(interface):
            if wanted is None or name in wanted:
                body = shapes.node("Struct", parts=tuple(shapes.of(t) for t in types))
                found.setdefault(name, set()).add(body)
    return found


def inspected_names(tree):
    shapes = Shapes(unions=True)
    found = collect(tree, shapes)
    names = [name for name, bodies in found.items() if any(shapes.is_inspected(body) for body in bodies)]
    for name in names:
        if len(found[name]) > 1:
            raise SystemExit("operation '%s' takes different parameters in different interfaces" % name)
    return names


def write(out, shapes, found):
    out.write("constexpr TypeNode nodes[] = {\n")
    for node in shapes.nodes:
        out.write("    {TypeKind::%s, %d, %d, %d, %d},\n" % node)
    out.write("};\nconstexpr TypePart parts[] = {\n")
    for part in shapes.parts:
        out.write("    {%d, 0},\n" % part)
    out.write("};\nconstexpr OperationShape operations[] = {\n")
    for name in sorted(found):
        out.write('    {"%s", %d},\n' % (name, min(found[name])))
    out.write("};\n")


def run(tree, arguments):
    path = [a[len("out=") :] for a in arguments if a.startswith("out=")][0]
    shapes = Shapes()
    found = collect(tree, shapes, inspected_names(tree))
    with open(path, "w", encoding="ascii") as out:
        write(out, shapes, found)
