#include <kelp/util/secret.h>
#include <string.h>

#include <algorithm>

namespace kelp::util {

void wipe(std::string& text) noexcept {
    // the whole capacity, because the text may have been longer before
    ::explicit_bzero(text.data(), text.capacity());
    text.clear();
}

Secret::Secret(const char* text) {
    reserve();
    text_ = text;
}

Secret::Secret(std::string& text) {
    text_.reserve(std::max(kBytesMax, text.size()));
    text_ = text;
    wipe(text);
}

Secret::Secret(Secret&& other) noexcept {
    text_.swap(other.text_);
}

Secret::~Secret() {
    wipe(text_);
}

void Secret::append(char character) {
    reserve();
    text_.push_back(character);
}

/// Reserve the maximum at once, which is more than a string stores inside itself: growing or moving
/// the text would leave copies behind.
void Secret::reserve() {
    if (text_.capacity() < kBytesMax)
        text_.reserve(kBytesMax);
}

}  // namespace kelp::util
