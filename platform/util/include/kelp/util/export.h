#pragma once
/// Marks what a shared library shows to other modules; everything else is hidden.
#define KELP_EXPORT __attribute__((visibility("default")))
