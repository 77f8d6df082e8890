#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kelp::host {

/// Where a program is, by PATH and the usual folders of services; empty when it is not installed.
std::filesystem::path findProgram(const std::string& name);

/// What to run, and how.
struct ChildSettings {
    std::filesystem::path program;
    std::vector<std::string> arguments;
    /// "NAME=value", added to this process's own.
    std::vector<std::string> environment;
    /// Gets what the program writes.
    std::filesystem::path logFile;
};

/// Starts a program as a child that the kernel kills when the calling thread ends, however it ends. It has a
/// process group of its own (Ctrl-C at the terminal does not reach it), no open files but the log, and
/// default signal handling. -1, with the reason, when it cannot be started.
pid_t startChild(const ChildSettings& settings, std::string& whyNot);

/// How a process ended, from waitpid's status: "exit code 1", "signal 9 (Killed)".
std::string endInWords(int status);

}  // namespace kelp::host
