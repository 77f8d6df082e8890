#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>

namespace kelp::bench {

/// Processor time, user and system, that all threads of a process have used. Throws
/// std::runtime_error for a process that is gone.
std::chrono::nanoseconds processorTime(pid_t process);

/// Resident memory of a process in KiB (VmRSS). Throws std::runtime_error for a process that is
/// gone.
double residentKib(pid_t process);

/// The largest that its resident memory has been, in KiB (VmHWM), since forgetResidentPeak() at the
/// earliest.
double residentPeakKib(pid_t process);
void forgetResidentPeak(pid_t process);

/// Connections of this machine's IPv4 loopback that lead to the port.
std::size_t connectionsTo(std::uint16_t port);

/// Raises this process's limit of open files, and so that of the processes it starts, to what the
/// system allows.
void raiseOpenFilesLimit();

}  // namespace kelp::bench
