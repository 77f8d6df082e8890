#pragma once

namespace kelp::nms {

/// Whether output to the file descriptor may be coloured: it is a terminal, TERM is not "dumb", and
/// the environment variable NO_COLOR is absent or empty.
bool mayBeColoured(int fd);

/// Return the width of the terminal in columns, or 0 if the descriptor is not a terminal or the
/// terminal does not report a width.
unsigned terminalWidth(int fd);

}  // namespace kelp::nms
