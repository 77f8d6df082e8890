#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace kelp::nms {

/// What was to be written could not be.
class CannotWrite : public std::runtime_error {
  public:
    /// `name` is what could not be written; the reason is errno's.
    explicit CannotWrite(const std::string& name);
    CannotWrite(const std::string& name, const std::string& reason);
};

/// Text on its way out, gathered so that many short lines go together.
class Output {
  public:
    /// Takes the text at once, or throws CannotWrite.
    using Sink = std::function<void(const std::string&)>;
    explicit Output(Sink sink) : sink_(std::move(sink)) {}

    /// Throws CannotWrite, as flush() does.
    void write(const std::string& text);
    void flush();

  private:
    const Sink sink_;
    std::string gathered_;
};

/// Standard output. Throws CannotWrite.
void writeToStandardOutput(const std::string& text);

}  // namespace kelp::nms
