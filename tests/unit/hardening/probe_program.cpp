#include <cstddef>

extern "C" std::size_t lengthOfCopy(const char* text);

int main(int, char** arguments) {
    return lengthOfCopy(arguments[0]) > 0 ? 0 : 1;
}
