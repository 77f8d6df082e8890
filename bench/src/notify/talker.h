#pragma once

#include <string>
#include <vector>

#include "harness/child_process.h"

namespace kelp::bench {

/// A program that answers lines with lines. It ends when this object is destroyed.
class Talker {
  public:
    Talker(const std::string& program, const std::vector<std::string>& arguments);

    void say(const std::string& line);
    /// Return its next line. Throws std::runtime_error when the program ends instead.
    std::string hear();
    std::string ask(const std::string& line) {
        say(line);
        return hear();
    }
    test::ChildProcess& process() { return process_; }

  private:
    std::string program_;
    test::ChildProcess process_;
    std::string heard_;
};

}  // namespace kelp::bench
