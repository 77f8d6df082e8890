#include "wire/pdu_reader.h"

#include <optional>
#include <string>

namespace kelp::traps {

namespace {

const Oid kSysUpTime({1, 3, 6, 1, 2, 1, 1, 3, 0});
const Oid kTrapOid({1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0});

Oid oidOf(const oid* components, std::size_t count) {
    std::vector<std::uint32_t> result;
    result.reserve(count);
    for (std::size_t at = 0; at < count; ++at)
        result.push_back(static_cast<std::uint32_t>(components[at]));
    return Oid(std::move(result));
}

std::string_view octetsIn(const netsnmp_variable_list& variable) {
    return {reinterpret_cast<const char*>(variable.val.string), variable.val_len};
}

std::string ipv4Text(std::string_view octets) {
    std::string text;
    for (const char octet : octets)
        text += (text.empty() ? "" : ".") + std::to_string(static_cast<unsigned char>(octet));
    return text;
}

std::string valueOf(const netsnmp_variable_list& variable) {
    if (!variable.val.string)
        return "";
    switch (variable.type) {
        case ASN_INTEGER:
            return std::to_string(*variable.val.integer);
        case ASN_COUNTER:
        case ASN_GAUGE:
        case ASN_TIMETICKS:
        case ASN_UINTEGER:
            return std::to_string(static_cast<std::uint32_t>(*variable.val.integer));
        case ASN_COUNTER64:
            return std::to_string(static_cast<std::uint64_t>(variable.val.counter64->high) << 32 |
                                  (variable.val.counter64->low & 0xffffffff));
        case ASN_OBJECT_ID:
            return oidOf(variable.val.objid, variable.val_len / sizeof(oid)).text();
        case ASN_IPADDRESS:
            return ipv4Text(octetsIn(variable));
        case ASN_OCTET_STR:
        case ASN_BIT_STR:
        case ASN_OPAQUE:
            return octetText(octetsIn(variable));
        case ASN_OPAQUE_FLOAT:
            return std::to_string(*variable.val.floatVal);
        case ASN_OPAQUE_DOUBLE:
            return std::to_string(*variable.val.doubleVal);
        default:
            return "";
    }
}

}  // namespace

PduProblem readPdu(const netsnmp_pdu& pdu, Trap& trap) {
    if (pdu.command != SNMP_MSG_TRAP2 && pdu.command != SNMP_MSG_INFORM)
        return PduProblem::NotATrap;
    trap.isInform = pdu.command == SNMP_MSG_INFORM;
    trap.requestId = pdu.reqid;
    bool hasOid = false;
    std::size_t count = 0;
    for (const netsnmp_variable_list* each = pdu.variables; each; each = each->next_variable) {
        if (++count > kVarBindsMax + 2)
            return PduProblem::TooManyVarBinds;
        VarBind varBind{oidOf(each->name, each->name_length), ""};
        if (!hasOid && varBind.oid == kTrapOid && each->type == ASN_OBJECT_ID) {
            hasOid = true;
            trap.oid = oidOf(each->val.objid, each->val_len / sizeof(oid));
        } else if (count == 1 && varBind.oid == kSysUpTime && each->type == ASN_TIMETICKS) {
            trap.upTime = static_cast<std::uint32_t>(*each->val.integer);
        } else {
            varBind.value = valueOf(*each);
            trap.varBinds.push_back(std::move(varBind));
        }
    }
    return hasOid ? PduProblem::None : PduProblem::NotATrap;
}

}  // namespace kelp::traps
