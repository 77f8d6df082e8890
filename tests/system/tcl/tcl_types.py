"""omniidl back end: the declarations of an IDL file as type data of the Tcl ORB "combat".

    omniidl -p <folder of this file> -b tcl_types nms.idl > nms_types.tcl

The result is one Tcl command, "combat::ir add {...}", with an entry for each module, interface, operation,
attribute, structure, union, exception, enumeration and typedef. Our NMS uses no arrays: the back end rejects them instead
of writing untested output.
"""

from omniidl import idlast, idltype, idlvisitor

SIMPLE = {
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
    idltype.tk_wchar: "wchar",
    idltype.tk_octet: "octet",
    idltype.tk_any: "any",
    idltype.tk_TypeCode: "TypeCode",
}
TEXTS = {idltype.tk_string: "string", idltype.tk_wstring: "wstring"}
MODES = ("in", "out", "inout")


def word(value):
    """Return one word of a Tcl list. A Python list becomes a nested list."""
    if isinstance(value, list):
        return "{" + " ".join(word(each) for each in value) + "}"
    text = str(value)
    return "{" + text + "}" if text == "" or any(c in text for c in ' {}[]"$;\\') else text


def type_of(idl_type):
    kind = idl_type.kind()
    if kind in SIMPLE:
        return SIMPLE[kind]
    if kind in TEXTS:
        return [TEXTS[kind], idl_type.bound()] if idl_type.bound() else TEXTS[kind]
    if kind == idltype.tk_sequence:
        bound = [idl_type.bound()] if idl_type.bound() else []
        return ["sequence", type_of(idl_type.seqType())] + bound
    if kind == idltype.tk_objref and idl_type.scopedName()[-2:] == ["CORBA", "Object"]:
        return "Object"
    return idl_type.decl().repoId()


def heading(node):
    """Return the repository id, name and version with which every entry begins."""
    identity = node.repoId()
    return [identity, node.identifier(), identity.rpartition(":")[2]]


class Entries(idlvisitor.AstVisitor):
    """Each visit leaves the entries of its node in `made`."""

    def __init__(self):
        self.made = []

    def of(self, nodes):
        entries = []
        for node in nodes:
            self.made = []
            node.accept(self)
            entries += self.made
        return entries

    def visitAST(self, node):
        self.made = self.of(node.declarations())

    def visitModule(self, node):
        self.made = [["module", heading(node), self.of(node.definitions())]]

    def visitForward(self, node):
        self.made = [["interface", heading(node)]]

    def visitInterface(self, node):
        bases = [base.repoId() for base in node.inherits()]
        self.made = [["interface", heading(node), bases, self.of(node.contents())]]

    def visitConst(self, node):
        self.made = []

    def visitTypedef(self, node):
        if any(declarator.sizes() for declarator in node.declarators()):
            raise NotImplementedError(f"{node.file()}:{node.line()}: an array")
        inner = self.of([node.aliasType().decl()]) if node.constrType() else []
        self.made = inner + [
            ["typedef", heading(declarator), type_of(node.aliasType())] for declarator in node.declarators()
        ]

    def members(self, node):
        inner = self.of([m.memberType().decl() for m in node.members() if m.constrType()])
        named = [
            [declarator.identifier(), type_of(member.memberType())]
            for member in node.members()
            for declarator in member.declarators()
        ]
        return [named, inner]

    def visitStruct(self, node):
        self.made = [["struct", heading(node)] + self.members(node)]

    def visitException(self, node):
        self.made = [["exception", heading(node)] + self.members(node)]

    def visitUnion(self, node):
        cases = [
            [self.label(label), case.declarator().identifier(), type_of(case.caseType())]
            for case in node.cases()
            for label in case.labels()
        ]
        self.made = [["union", heading(node), type_of(node.switchType()), cases, []]]

    @staticmethod
    def label(label):
        if label.default():
            return "(default)"
        value = label.value()
        return value.identifier() if isinstance(value, idlast.Enumerator) else value

    def visitEnum(self, node):
        self.made = [["enum", heading(node), [each.identifier() for each in node.enumerators()]]]

    def visitAttribute(self, node):
        readonly = ["readonly"] if node.readonly() else []
        self.made = [
            ["attribute", heading(declarator), type_of(node.attrType())] + readonly
            for declarator in node.declarators()
        ]

    def visitOperation(self, node):
        parameters = [
            [MODES[p.direction()], p.identifier(), type_of(p.paramType())] for p in node.parameters()
        ]
        raises = [each.repoId() for each in node.raises()]
        oneway = ["oneway"] if node.oneway() else []
        self.made = [["operation", heading(node), type_of(node.returnType()), parameters, raises] + oneway]


def run(tree, args):
    entries = Entries()
    tree.accept(entries)
    print("package require combat")
    print("combat::ir add {")
    for entry in entries.made:
        print(word(entry))
    print("}")
