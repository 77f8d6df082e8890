#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace kelp::test {

/// A certificate authority of the moment in a folder of its own, which goes with it.
class ThrowAwayCertificates {
  public:
    ThrowAwayCertificates() {
        std::string pattern = testing::TempDir() + "kelp-tls-" + std::string(6, 'X');
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no folder for certificates");
        folder_ = pattern;
        run("openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj '/CN=Test CA' -keyout ca.key -out "
            "ca.pem");
    }
    ~ThrowAwayCertificates() { std::filesystem::remove_all(folder_); }
    ThrowAwayCertificates(const ThrowAwayCertificates&) = delete;
    ThrowAwayCertificates& operator=(const ThrowAwayCertificates&) = delete;

    std::string folder() const { return folder_; }
    std::string authority() const { return folder_ / "ca.pem"; }

    /// A file with a new key and the certificate that the authority gave it; the key is encrypted where there
    /// is a password. A second call for a name replaces the file.
    std::string issue(const std::string& name, const std::string& password = "") const {
        makeRequest(name, password);
        run("openssl x509 -req -days 2 -in " + name + ".csr -CA ca.pem -CAkey ca.key -CAcreateserial -out " +
            name + ".crt");
        return joined(name);
    }
    /// The same, valid between two times in the form 20300131235959Z.
    std::string issueFor(const std::string& name, const std::string& from, const std::string& to) const {
        makeRequest(name, "");
        std::ofstream(folder_ / "ca.cnf")
            << "[ca]\ndefault_ca=a\n[a]\ndatabase=index.txt\nnew_certs_dir=.\nrand_serial=yes\n"
               "unique_subject=no\ndefault_md=sha256\npolicy=p\n[p]\ncommonName=supplied\n";
        run("touch index.txt && openssl ca -batch -notext -config ca.cnf -cert ca.pem -keyfile ca.key -in " +
            name + ".csr -out " + name + ".crt -startdate " + from + " -enddate " + to);
        return joined(name);
    }
    std::string issueExpired(const std::string& name) const {
        return issueFor(name, "20200101000000Z", "20210101000000Z");
    }
    std::string issueNotYetValid(const std::string& name) const {
        return issueFor(name, "20480101000000Z", "20490101000000Z");
    }

    /// The parts of the file that was issued last for a name.
    std::string keyOf(const std::string& name) const { return folder_ / (name + ".key"); }
    std::string certificateOf(const std::string& name) const { return folder_ / (name + ".crt"); }

  private:
    void makeRequest(const std::string& name, const std::string& password) const {
        const std::string protection = password.empty() ? "-nodes" : "-passout pass:" + password;
        run("openssl req -newkey rsa:2048 " + protection + " -subj '/CN=" + name + "' -keyout " + name +
            ".key -out " + name + ".csr");
    }
    std::string joined(const std::string& name) const {
        run("cat " + name + ".key " + name + ".crt > " + name + ".pem");
        return folder_ / (name + ".pem");
    }
    void run(const std::string& command) const {
        const std::string whole = "cd '" + folder_.string() + "' && ( " + command + " ) 2>openssl.log";
        if (std::system(whole.c_str()) != 0)
            throw std::runtime_error("failed: " + command);
    }

    std::filesystem::path folder_;
};

}  // namespace kelp::test
