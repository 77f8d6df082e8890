#pragma once

#include <kelp/util/naming_path.h>

namespace kelp::nms {

using util::NamingComponent;
using util::NamingPath;
using util::toNamingPath;
using util::toText;

}  // namespace kelp::nms
