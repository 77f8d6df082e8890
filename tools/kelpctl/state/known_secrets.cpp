#include "state/known_secrets.h"

#include <kelp/admin/registry.h>
#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>
#include <system_error>

namespace kelp::state {

namespace {

constexpr const char* kMask = "***";
constexpr std::size_t kShortest = 4;
constexpr std::size_t kSecretBytesMax = 1u << 20;

/// The lines of a file, also of one that a host would not trust: all of its content is a secret.
std::vector<std::string> linesOf(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error))
        return {};
    std::string text(kSecretBytesMax, '\0');
    std::ifstream all(file, std::ios::binary);
    all.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(all.gcount()));
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> wordsOf(const std::string& line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

/// Add the whole lines between the frames of private keys.
void addPrivateKey(const std::filesystem::path& file, KnownSecrets& secrets) {
    bool isKey = false;
    for (const std::string& line : linesOf(file)) {
        if (line.starts_with("-----"))
            isKey = line.find("BEGIN") != std::string::npos &&
                    line.find("PRIVATE KEY") != std::string::npos;
        else if (isKey)
            secrets.add(line);
    }
}

/// A line is: name, SHA-256, password, and optionally AES, password and engines.
void addSnmpUsers(const std::filesystem::path& file, KnownSecrets& secrets) {
    constexpr std::size_t kFirstPassword = 2;
    for (const std::string& line : linesOf(file)) {
        const std::vector<std::string> words = wordsOf(line);
        for (std::size_t i = kFirstPassword; i < words.size(); ++i) {
            if (!words[i].starts_with("engine=") && words[i] != "AES")
                secrets.add(words[i]);
        }
    }
}

/// A line is: community, and optionally networks.
void addCommunities(const std::filesystem::path& file, KnownSecrets& secrets) {
    for (const std::string& line : linesOf(file)) {
        const std::vector<std::string> words = wordsOf(line);
        if (!words.empty() && words.front() != "#")
            secrets.add(words.front());
    }
}

void replaceAll(std::string& text, const std::string& what) {
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + std::char_traits<char>::length(kMask)))
        text.replace(at, what.size(), kMask);
}

/// Replace what follows `beginning`, up to an octet that `isEnd` accepts.
template <class IsEnd>
void maskAfter(std::string& text, const std::string& beginning, IsEnd isEnd) {
    for (std::size_t at = text.find(beginning); at != std::string::npos;
         at = text.find(beginning, at + beginning.size())) {
        const auto from = text.begin() + static_cast<std::ptrdiff_t>(at + beginning.size());
        text.replace(from, std::find_if(from, text.end(), isEnd), kMask);
    }
}

bool endsWord(char each) {
    return std::isspace(static_cast<unsigned char>(each)) != 0 || each == '"' || each == '\\' ||
           each == '\'';
}

}  // namespace

KnownSecrets KnownSecrets::ofHost(const StateLayout& layout,
                                  const std::vector<ConfigurationFile>& configuration) {
    KnownSecrets secrets;
    for (const StateFile& each : layout.files) {
        if (each.name != "state/audit.key")
            continue;
        const std::vector<std::string> lines = linesOf(each.path);
        if (lines.size() > 1)
            secrets.add(lines[1]);
    }
    for (const std::string& line : linesOf(layout.folder / "admin.token"))
        secrets.add(line);
    for (const ConfigurationFile& each : configuration) {
        const std::string key = each.name.substr(each.name.find('/') + 1);
        if (key == "tls.certificate")
            addPrivateKey(each.path, secrets);
        else if (key == "snmp.users_file")
            addSnmpUsers(each.path, secrets);
        else if (key == "snmp.communities_file")
            addCommunities(each.path, secrets);
        else if (key == "tls.key_password_file")
            for (const std::string& line : linesOf(each.path))
                secrets.add(line);
    }
    return secrets;
}

void KnownSecrets::add(std::string_view secret) {
    if (secret.size() < kShortest)
        return;
    const std::string plain(secret);
    std::string json = util::jsonText(admin::Json(plain));
    json = json.substr(1, json.size() - 2);
    for (const std::string& form : {plain, json, util::escaped(plain)}) {
        if (std::find(forms_.begin(), forms_.end(), form) == forms_.end())
            forms_.push_back(form);
    }
    // a secret may contain another
    std::stable_sort(forms_.begin(), forms_.end(),
                     [](const auto& one, const auto& other) { return one.size() > other.size(); });
}

std::string KnownSecrets::masked(std::string text) const {
    for (const std::string& each : forms_)
        replaceAll(text, each);
    maskAfter(text, "$argon2", endsWord);
    maskAfter(text, "Bearer ", endsWord);
    maskAfter(text, "PRIVATE KEY-----", [](char each) { return each == '-'; });
    return text;
}

bool isSecretKey(const std::string& key) {
    std::string name = key.substr(key.rfind('.') + 1);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char each) { return static_cast<char>(std::tolower(each)); });
    if (name.ends_with("_file"))
        return false;
    constexpr const char* kWords[] = {"password", "passwd",   "secret",
                                      "token",    "communit", "privatekey"};
    return std::any_of(std::begin(kWords), std::end(kWords),
                       [&name](const char* word) { return name.find(word) != std::string::npos; });
}

}  // namespace kelp::state
