#pragma once

#include <cstddef>

namespace kelp::ems {

// Limits of the texts of an acknowledgement, from an NMS or from an operator: they are kept with
// the alarm.
inline constexpr std::size_t kUserBytesMax = 256;
inline constexpr std::size_t kNotepadBytesMax = 1024;

}  // namespace kelp::ems
