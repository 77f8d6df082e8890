#pragma once

#include <kelp/orb/tls_files.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "owned.h"

namespace kelp::orb {

/// A PEM file: its text, and the problems found with it.
class PemFile {
  public:
    /// Read the file. `problems` is borrowed. Each problem is added to it, including one of reading
    /// the file.
    PemFile(std::string name, TlsFileProblem::Of of, std::vector<TlsFileProblem>& problems);

    bool isRead() const { return text_.has_value(); }
    OwnedBio open() const;
    bool contains(const char* part) const { return text_->find(part) != std::string::npos; }
    /// Add a problem if somebody else could have written the content.
    void checkTrust();
    /// Return the permission bits of the file's mode, such as 0644.
    ::mode_t mode() const { return mode_; }

    /// Add a problem. `what` continues the sentence that begins with the file's name.
    void wrong(const std::string& what) { wrong(of_, what); }
    void wrong(TlsFileProblem::Of of, const std::string& what);

  private:
    void read();

    const std::string name_;
    const TlsFileProblem::Of of_;
    std::vector<TlsFileProblem>& problems_;
    std::optional<std::string> text_;
    ::mode_t mode_ = 0;
};

/// Return whether the library's last failure on this thread means that a PEM text has no further
/// object of the requested kind. The thread's errors stay.
bool isEndOfPem();

}  // namespace kelp::orb
