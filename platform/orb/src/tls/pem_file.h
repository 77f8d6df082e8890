#pragma once

#include <kelp/orb/tls_files.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "owned.h"

namespace kelp::orb {

/// One PEM file: its text, and what is found wrong with it.
class PemFile {
  public:
    /// Reads the file. `problems` is borrowed and grows with each problem, those of reading it
    /// included.
    PemFile(std::string name, TlsFileProblem::Of of, std::vector<TlsFileProblem>& problems);

    bool isRead() const { return text_.has_value(); }
    OwnedBio open() const;
    bool contains(const char* part) const { return text_->find(part) != std::string::npos; }
    /// Adds a problem when somebody else could have put the content there.
    void checkTrust();
    /// The file's mode, 0644; permission bits alone.
    ::mode_t mode() const { return mode_; }

    /// `what` goes on where the file's name ends.
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

/// Whether the library's last failure on this thread says that a PEM text has no further object of
/// the kind asked for. The thread's errors stay.
bool isEndOfPem();

}  // namespace kelp::orb
