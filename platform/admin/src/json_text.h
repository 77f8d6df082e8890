#pragma once

#include <kelp/admin/registry.h>

#include <string>

namespace kelp::admin {

/// The JSON of a text. Throws RequestError for a text that is none, that is nested too deeply, or
/// has an object with a key twice or with too many.
Json parseJson(const std::string& text);

}  // namespace kelp::admin
