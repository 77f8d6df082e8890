#pragma once

#include <kelp/admin/registry.h>
#include <kelp/util/export.h>

#include <string>

namespace kelp::admin {

/// Parse a JSON text of a caller: a body, or a parameter. Throws RequestError if the text is not
/// JSON, is nested too deeply, or has an object that repeats a key or has too many keys.
KELP_EXPORT Json parseJson(const std::string& text);

}  // namespace kelp::admin
