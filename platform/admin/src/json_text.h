#pragma once

#include <kelp/admin/registry.h>

#include <string>

namespace kelp::admin {

/// The JSON of a text. Throws RequestError for a text that is none, and for an object in it that has a key
/// twice.
Json parseJson(const std::string& text);

}  // namespace kelp::admin
