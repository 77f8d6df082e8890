#pragma once

#include "app/command.h"
#include "upload/list_options.h"

namespace kelp::nms {

/// Run the command `dump --follow`: log in, subscribe to the changes of the network, dump it to the
/// file, and keep the file current until an interrupt. Returns the exit code. Throws NmsError.
int followDump(const CommandContext& context, const DumpOptions& options);

}  // namespace kelp::nms
