#pragma once

#include <cstddef>
#include <cstdint>

/// One input for everything that reads a time's text: nothing may crash, and what is read can be said.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
