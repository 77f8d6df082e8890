#pragma once

#include <string>

namespace kelp::managers {

/// A name whose components are those of no object that the operation takes, or of another EMS.
inline constexpr unsigned long kNotAName = 0x41180054;
/// A number that is no layer rate of the standard and none that is left to vendors.
inline constexpr unsigned long kNotALayerRate = 0x41180055;
/// A text that the attribute cannot hold.
inline constexpr unsigned long kNotAValue = 0x41180056;
/// An object that does not exist.
inline constexpr unsigned long kNoSuchObject = 0x411800CB;
/// The inventory is being written by somebody else.
inline constexpr unsigned long kInventoryBusy = 0x411800EE;

/// Fails the request with the ProcessingFailureException of the code.
[[noreturn]] void refuse(unsigned long code);

/// The same, where the reason also says what it is about: the offending parameter or the name that
/// was passed in, as TMF 814 wants it, escaped and cut when it is long.
[[noreturn]] void refuse(unsigned long code, const std::string& about);

/// EXCPT_USERLABEL_IN_USE, which no range of codes stands for.
[[noreturn]] void refuseUserLabel(const std::string& label);

}  // namespace kelp::managers
