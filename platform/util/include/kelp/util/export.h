#pragma once
/// Exports a symbol from its shared library. All other symbols are hidden.
#define KELP_EXPORT __attribute__((visibility("default")))
