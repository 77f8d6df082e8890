#pragma once

namespace kelp::nms {

/// Whether what is written to the file descriptor may be coloured: it is a terminal, not a dumb
/// one, and the environment variable NO_COLOR is absent or empty.
bool mayBeColoured(int fd);

/// Columns of the terminal; 0 when it is none or does not say.
unsigned terminalWidth(int fd);

}  // namespace kelp::nms
