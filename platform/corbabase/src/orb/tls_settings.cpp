#include <kelp/corbabase/tls_settings.h>
#include <kelp/orb/tls_suites.h>
#include <kelp/util/file_trust.h>
#include <kelp/util/secret.h>

#include <cstddef>

namespace NS_CORBA {

namespace {

constexpr const char* kPasswordFileKey = "tls.key_password_file";

const NS_BUNDLEMGR1::ConfigStore& config() {
    return NS_BUNDLEMGR1::ConfigStore::instance();
}

/// Read the first line of a secret file, without its line end. False when the file cannot be read
/// or is accessible to others.
bool firstLine(const std::string& file, std::string& line, std::string& whyNot) {
    constexpr std::size_t kBytesMax = 65536;
    std::optional<std::string> text =
        kelp::util::readTrustedFile(file, kelp::util::FileUse::Secret, whyNot, kBytesMax);
    if (!text)
        return false;
    const kelp::util::Secret all(*text);
    line = all.text().substr(0, all.text().find_first_of("\r\n"));
    return true;
}

std::string keyOf(kelp::orb::TlsFileProblem::Of of) {
    using Of = kelp::orb::TlsFileProblem::Of;
    if (of == Of::Authorities)
        return "tls.ca";
    if (of == Of::RevocationLists)
        return "tls.crl";
    return of == Of::Password ? kPasswordFileKey : "tls.certificate";
}

std::optional<kelp::orb::TlsFiles> readFiles(std::string& passwordProblem) {
    kelp::orb::TlsFiles files{config().text("tls.ca"), config().text("tls.certificate"), "",
                              config().text("tls.crl")};
    const std::string passwordFile = config().text(kPasswordFileKey);
    if (passwordFile.empty() || firstLine(passwordFile, files.keyPassword, passwordProblem))
        return files;
    passwordProblem = passwordFile + " " + passwordProblem;
    return std::nullopt;
}

std::vector<NS_BUNDLEMGR1::ConfigProblem> problemsOfSuites() {
    std::vector<NS_BUNDLEMGR1::ConfigProblem> all;
    const auto note = [&all](const std::string& key, const std::string& problem) {
        if (!problem.empty())
            all.push_back(config().problem(key, problem));
    };
    note("tls.ciphers", kelp::orb::problemOfTlsCiphers(config().text("tls.ciphers")));
    note("tls.cipher_suites",
         kelp::orb::problemOfTlsCipherSuites(config().text("tls.cipher_suites")));
    return all;
}

}  // namespace

std::optional<kelp::orb::TlsFiles> configuredTlsFiles(std::string& whyNot) {
    std::optional<kelp::orb::TlsFiles> files = readFiles(whyNot);
    if (!files)
        whyNot = kPasswordFileKey + std::string(": ") + whyNot;
    return files;
}

std::vector<NS_BUNDLEMGR1::ConfigProblem> problemsOfConfiguredTls() {
    if (config().integer("tls.mode") == 0)
        return {};
    std::vector<NS_BUNDLEMGR1::ConfigProblem> all = problemsOfSuites();
    std::string whyNot;
    const std::optional<kelp::orb::TlsFiles> files = readFiles(whyNot);
    if (!files) {
        all.push_back(config().problem(kPasswordFileKey, whyNot));
        return all;
    }
    for (const kelp::orb::TlsFileProblem& problem : kelp::orb::problemsOf(*files))
        all.push_back(config().problem(keyOf(problem.of), problem.what));
    return all;
}

}  // namespace NS_CORBA
