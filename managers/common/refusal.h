#pragma once

#include <string>

namespace kelp::managers {

/// A name that is malformed, belongs to another EMS, or names a kind of object that the operation
/// does not accept.
inline constexpr unsigned long kNotAName = 0x41180054;
/// A number that is neither a layer rate of the standard nor in the range left to vendors.
inline constexpr unsigned long kNotALayerRate = 0x41180055;
/// A text that the attribute cannot hold.
inline constexpr unsigned long kNotAValue = 0x41180056;
/// An object that does not exist.
inline constexpr unsigned long kNoSuchObject = 0x411800CB;
/// Another writer has locked the inventory.
inline constexpr unsigned long kInventoryBusy = 0x411800EE;

/// Fail the request with the ProcessingFailureException for the code.
[[noreturn]] void refuse(unsigned long code);

/// The same, and append `about` to the reason. TMF 814 wants the reason to name the offending
/// parameter or name. `about` is escaped, and cut when it is long.
[[noreturn]] void refuse(unsigned long code, const std::string& about);

/// Fail the request with EXCPT_USERLABEL_IN_USE, for which there is no error code.
[[noreturn]] void refuseUserLabel(const std::string& label);

}  // namespace kelp::managers
