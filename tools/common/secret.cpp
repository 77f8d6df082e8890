#include "common/secret.h"

#include <string.h>

namespace kelp::tools {

Secret::Secret(const char* text) : text_(text) {}

Secret::Secret(Secret&& other) noexcept {
    text_.swap(other.text_);
}

Secret::~Secret() {
    ::explicit_bzero(text_.data(), text_.size());
}

void Secret::append(char character) {
    if (text_.capacity() < kBytesMax)
        text_.reserve(kBytesMax);  // at once: growing would leave copies behind
    text_.push_back(character);
}

}  // namespace kelp::tools
