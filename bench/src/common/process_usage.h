#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>

namespace kelp::bench {

/// Return the processor time, user and system, that all threads of a process have used. Throws
/// std::runtime_error if the process is gone.
std::chrono::nanoseconds processorTime(pid_t process);

/// Return the resident memory of a process in KiB (VmRSS). Throws std::runtime_error if the process
/// is gone.
double residentKib(pid_t process);

/// Return the peak of a process's resident memory in KiB (VmHWM) since its start or the last
/// forgetResidentPeak().
double residentPeakKib(pid_t process);
void forgetResidentPeak(pid_t process);

/// Return the number of connections on this machine's IPv4 loopback that lead to the port.
std::size_t connectionsTo(std::uint16_t port);

/// Raise the limit of open files of this process, and of the processes that it starts, to the
/// maximum that the system allows.
void raiseOpenFilesLimit();

}  // namespace kelp::bench
