#pragma once

#include <kelp/traps/trap.h>

#include "wire/net_snmp.h"

namespace kelp::traps {

/// Why a PDU is not a trap that we accept.
enum class PduProblem { None, NotATrap, TooManyVarBinds };

/// Fill in the trap's fields that are in the PDU: everything except the sender's.
PduProblem readPdu(const netsnmp_pdu& pdu, Trap& trap);

}  // namespace kelp::traps
