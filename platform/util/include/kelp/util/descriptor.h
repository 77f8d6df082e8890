#pragma once

#include <unistd.h>

#include <utility>

namespace kelp::util {

/// Owns a file descriptor and closes it. Move-only.
class Descriptor {
  public:
    explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Descriptor() { close(); }

    int get() const { return descriptor_; }
    bool isOpen() const { return descriptor_ >= 0; }
    void close() {
        if (isOpen())
            ::close(std::exchange(descriptor_, -1));
    }

  private:
    int descriptor_;
};

}  // namespace kelp::util
