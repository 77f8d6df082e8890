#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace kelp::nms {

/// Output could not be written.
class CannotWrite : public std::runtime_error {
  public:
    /// `name` says what could not be written. The reason comes from errno.
    explicit CannotWrite(const std::string& name);
    CannotWrite(const std::string& name, const std::string& reason);
};

/// Collects short texts and writes them together.
class Output {
  public:
    /// Writes the text immediately, or throws CannotWrite.
    using Sink = std::function<void(const std::string&)>;
    explicit Output(Sink sink) : sink_(std::move(sink)) {}

    /// write() and flush() throw CannotWrite.
    void write(const std::string& text);
    void flush();

  private:
    const Sink sink_;
    std::string gathered_;
};

/// Write the text to standard output. Throws CannotWrite.
void writeToStandardOutput(const std::string& text);

}  // namespace kelp::nms
