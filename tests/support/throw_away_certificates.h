#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace kelp::test {

/// A temporary certificate authority with a separate folder, which the destructor removes.
class ThrowAwayCertificates {
  public:
    explicit ThrowAwayCertificates(const std::string& authority = "Test CA") {
        std::string pattern = testing::TempDir() + "kelp-tls-" + std::string(6, 'X');
        if (::mkdtemp(pattern.data()) == nullptr)
            throw std::runtime_error("no folder for certificates");
        folder_ = pattern;
        run("openssl req -x509 -newkey " + std::string(kKey) +
            " -nodes -days 2 -subj '/CN=" + authority + "' -keyout ca.key -out ca.pem");
    }
    ~ThrowAwayCertificates() { std::filesystem::remove_all(folder_); }
    ThrowAwayCertificates(const ThrowAwayCertificates&) = delete;
    ThrowAwayCertificates& operator=(const ThrowAwayCertificates&) = delete;

    std::string folder() const { return folder_; }
    std::string authority() const { return folder_ / "ca.pem"; }

    /// Issue a certificate for this machine's loopback address. Return a file with a new key and
    /// the certificate. If there is a password, the key is encrypted with it. A second call with
    /// the same name replaces the file.
    std::string issue(const std::string& name, const std::string& password = "") const {
        makeRequest(name, "/CN=" + name, password);
        return certified(name, kThisMachine);
    }
    /// Issue a certificate with alternative names in the form "DNS:ems.example.net,IP:192.0.2.1";
    /// empty for none.
    std::string issueForNames(const std::string& name, const std::string& names) const {
        makeRequest(name, "/CN=" + name, "");
        return certified(name, names);
    }
    /// Issue a certificate with an RSA key.
    std::string issueRsa(const std::string& name) const {
        makeRequest(name, "/CN=" + name, "", "rsa:2048");
        return certified(name, kThisMachine);
    }
    /// Issue a certificate with a subject in the form "/O=Operator/CN=nms1".
    std::string issueToSubject(const std::string& name, const std::string& subject) const {
        makeRequest(name, subject, "");
        return certified(name, kThisMachine);
    }
    /// Issue a certificate that is valid between two times in the form 20300131235959Z.
    std::string issueFor(const std::string& name, const std::string& from,
                         const std::string& to) const {
        makeRequest(name, "/CN=" + name, "");
        runAuthority("-in " + name + ".csr -out " + name + ".crt -startdate " + from +
                     " -enddate " + to);
        return joined(name);
    }
    std::string issueExpired(const std::string& name) const {
        return issueFor(name, "20200101000000Z", "20210101000000Z");
    }
    std::string issueNotYetValid(const std::string& name) const {
        return issueFor(name, "20480101000000Z", "20490101000000Z");
    }

    /// Revoke the certificate issued last for a name. The next revocation list contains it.
    void revoke(const std::string& name) const { runAuthority("-revoke " + name + ".crt"); }
    /// Write the authority's revocation list, which is valid for two days from now. Replaces the
    /// previous list. Return its path.
    std::string revocationList() const { return listFor("-crldays 2"); }
    /// Write a revocation list that is valid between two times as in issueFor().
    std::string revocationListFor(const std::string& from, const std::string& to) const {
        return listFor("-crl_lastupdate " + from + " -crl_nextupdate " + to);
    }

    /// The parts of the file issued last for a name.
    std::string keyOf(const std::string& name) const { return folder_ / (name + ".key"); }
    std::string certificateOf(const std::string& name) const { return folder_ / (name + ".crt"); }

  private:
    static constexpr const char* kKey = "ec -pkeyopt ec_paramgen_curve:P-256";  // fast to generate
    static constexpr const char* kThisMachine = "IP:127.0.0.1,DNS:localhost";

    void makeRequest(const std::string& name, const std::string& subject,
                     const std::string& password, const char* kind = kKey) const {
        const std::string protection = password.empty() ? "-nodes" : "-passout pass:" + password;
        run("openssl req -newkey " + std::string(kind) + " " + protection + " -utf8 -subj '" +
            subject + "' -keyout " + name + ".key -out " + name + ".csr");
    }
    std::string certified(const std::string& name, const std::string& names) const {
        std::ofstream(folder_ / "names.cnf")
            << (names.empty() ? "" : "subjectAltName=" + names + "\n");
        run("openssl x509 -req -days 2 -in " + name +
            ".csr -CA ca.pem -CAkey ca.key -CAcreateserial -extfile " + "names.cnf -out " + name +
            ".crt");
        return joined(name);
    }
    void runAuthority(const std::string& what) const {
        std::ofstream(folder_ / "ca.cnf")
            << "[ca]\ndefault_ca=a\n[a]\ndatabase=index.txt\nnew_certs_dir=.\nrand_serial=yes\n"
               "unique_subject=no\ndefault_md=sha256\npolicy=p\n[p]\ncommonName=supplied\n";
        run("touch index.txt && openssl ca -batch -notext -config ca.cnf -cert ca.pem -keyfile "
            "ca.key " +
            what);
    }
    std::string listFor(const std::string& times) const {
        runAuthority("-gencrl -out crl.pem " + times);
        return folder_ / "crl.pem";
    }
    std::string joined(const std::string& name) const {
        run("cat " + name + ".key " + name + ".crt > " + name + ".pem");
        return folder_ / (name + ".pem");
    }
    void run(const std::string& command) const {
        // keys that others can read are refused
        const std::string whole =
            "umask 077; cd '" + folder_.string() + "' && ( " + command + " ) 2>openssl.log";
        if (std::system(whole.c_str()) != 0)
            throw std::runtime_error("failed: " + command);
    }

    std::filesystem::path folder_;
};

}  // namespace kelp::test
