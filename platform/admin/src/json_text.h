#pragma once

#include <kelp/admin/registry.h>

#include <string>

namespace kelp::admin {

/// Parse a JSON text. Throws RequestError if the text is not JSON, is nested too deeply, or has an
/// object that repeats a key or has too many keys.
Json parseJson(const std::string& text);

}  // namespace kelp::admin
