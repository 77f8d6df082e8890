// Built once with the options of optimised builds and once without, for the check of the built
// files.

#include <cstring>

extern "C" __attribute__((visibility("default"))) std::size_t lengthOfCopy(const char* text);

std::size_t lengthOfCopy(const char* text) {
    char copy[64];
    std::strcpy(copy, text);
    return std::strlen(copy);
}
