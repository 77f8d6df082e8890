#include <fcntl.h>
#include <kelp/traps/engine_id.h>
#include <kelp/util/file_trust.h>
#include <kelp/util/private_file.h>
#include <kelp/util/random_octets.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>

namespace kelp::traps {

namespace {

constexpr std::size_t kEngineBytesMin = 5;
constexpr std::size_t kEngineBytesMax = 32;
constexpr std::size_t kFileBytesMax = 1024;
/// A further start would need a new id (RFC 3414, 2.2.2).
constexpr std::uint32_t kBootsMax = 2147483646;
/// The beginning of our ids: the enterprise number of net-snmp, which counts the starts and the
/// time for us, and 5 for octets that the administrator chooses (RFC 3411, SnmpEngineID).
constexpr std::array<unsigned char, 5> kIdPrefix = {0x80, 0x00, 0x1f, 0x88, 0x05};
constexpr std::size_t kRandomOctets = 12;

[[noreturn]] void fail(const std::filesystem::path& file, const std::string& what) {
    throw std::runtime_error(file.string() + " " + what);
}

Engine newEngine() {
    Engine engine;
    engine.id.assign(kIdPrefix.begin(), kIdPrefix.end());
    std::array<char, kRandomOctets> octets{};
    util::fillRandomly(octets.data(), octets.size());
    engine.id.append(octets.data(), octets.size());
    engine.boots = 0;
    return engine;
}

std::string textOf(const Engine& engine) {
    return "engine " + engineIdText(engine.id) + "\nboots " + std::to_string(engine.boots) + "\n";
}

/// The engine whose textOf() the text is.
std::optional<Engine> engineOf(const std::string& text) {
    std::array<char, 2 * kEngineBytesMax + 1> id{};
    unsigned boots = 0;
    if (std::sscanf(text.c_str(), "engine %64[0-9a-f] boots %u", id.data(), &boots) != 2)
        return std::nullopt;
    const std::optional<EngineId> known = parseEngineId(id.data());
    if (!known)
        return std::nullopt;
    Engine engine{*known, boots};
    return textOf(engine) == text ? std::optional(engine) : std::nullopt;
}

Engine readEngine(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::exists(file, error))
        return newEngine();
    std::string problem;
    const std::optional<std::string> text =
        util::readTrustedFile(file, util::FileUse::Secret, problem, kFileBytesMax);
    if (!text)
        fail(file, problem);
    const std::optional<Engine> engine = engineOf(*text);
    if (!engine)
        fail(file, "is damaged: restore it from a backup, or delete it to get a new engine id");
    if (engine->boots >= kBootsMax)
        fail(file, "has reached the last start of this engine: delete it to get a new engine id");
    return *engine;
}

/// Replace the file so that a power cut leaves either the old or the new one.
void writeEngine(const std::filesystem::path& file, const Engine& engine) {
    const std::filesystem::path unfinished = file.string() + ".new";
    std::string problem;
    const util::Descriptor open = util::openPrivateFile(unfinished, O_TRUNC, problem);
    if (!open.isOpen())
        fail(unfinished, problem);
    const std::string text = textOf(engine);
    const auto failed = [&] {
        fail(unfinished, "cannot be written: " + std::generic_category().message(errno));
    };
    if (::write(open.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        ::fsync(open.get()) != 0 || ::rename(unfinished.c_str(), file.c_str()) != 0)
        failed();
    const util::Descriptor folder(
        ::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen() || ::fsync(folder.get()) != 0)
        failed();
}

int digitOf(char character) {
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

}  // namespace

std::optional<EngineId> parseEngineId(const std::string& text) {
    const std::string digits =
        text.starts_with("0x") || text.starts_with("0X") ? text.substr(2) : text;
    if (digits.size() % 2 != 0)
        return std::nullopt;
    EngineId id;
    for (std::size_t at = 0; at < digits.size(); at += 2) {
        const int high = digitOf(digits[at]);
        const int low = digitOf(digits[at + 1]);
        if (high < 0 || low < 0)
            return std::nullopt;
        id += static_cast<char>(high * 16 + low);
    }
    if (id.size() < kEngineBytesMin || id.size() > kEngineBytesMax)
        return std::nullopt;
    return id;
}

std::string engineIdText(const EngineId& id) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (const char each : id) {
        const auto octet = static_cast<unsigned char>(each);
        text += kDigits[octet >> 4];
        text += kDigits[octet & 15];
    }
    return text;
}

Engine startEngine(const std::filesystem::path& file) {
    Engine engine = readEngine(file);
    ++engine.boots;
    writeEngine(file, engine);
    return engine;
}

}  // namespace kelp::traps
