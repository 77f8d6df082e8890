#pragma once

#include <cstddef>

namespace kelp::test {

/// Counts how often a CORBA text of one length is copied by any thread during its lifetime. Only
/// one exists at a time.
class CountedTexts {
  public:
    explicit CountedTexts(std::size_t length);
    ~CountedTexts();
    CountedTexts(const CountedTexts&) = delete;
    CountedTexts& operator=(const CountedTexts&) = delete;
    std::size_t copies() const;
};

}  // namespace kelp::test
