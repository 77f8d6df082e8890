#pragma once

#include <cos/CosNotification.h>

#include <iosfwd>

namespace NS_KELPCORBA {

/// Append each known field of the alarm as one entry of the alarm log, with
/// NS_CORBA::SuppilerMgr::FormatLog. A field of an unexpected type counts as missing.
void formatAlarmLog(std::ostream& out, const CosNotification::StructuredEvent& event);

}  // namespace NS_KELPCORBA
