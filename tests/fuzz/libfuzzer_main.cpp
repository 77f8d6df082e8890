// The entry point that libFuzzer calls, for the one target of this executable.

#include "targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kelp::fuzz::KELP_FUZZ_TARGET({data, size});
    return 0;
}
