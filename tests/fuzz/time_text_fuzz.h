#pragma once

#include <cstddef>
#include <cstdint>

/// One input for everything that reads a time's text. Nothing may crash, and what is read can be said and
/// read again; otherwise the input is printed and the process aborts.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
