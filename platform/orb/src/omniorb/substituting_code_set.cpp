#include "substituting_code_set.h"

#include <omniORB4/CORBA.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string_view>

namespace kelp::orb {

namespace {

using CodeSet = omni::omniCodeSet;

constexpr char kSubstitute = '?';

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Return the number of octets of the character at the beginning of a UTF-8 text; 1 where there is
/// no valid character.
std::size_t firstCharacter(std::string_view text) {
    const auto isContinued = [&text](std::size_t at) {
        return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xc0U) == 0x80U;
    };
    std::size_t size = 1;
    if (static_cast<unsigned char>(text.front()) >= 0xc0U) {
        while (size < 4 && isContinued(size))
            ++size;
    }
    return size;
}

/// Stateless, as the ORB requires of code sets. The ORB's list refers to it until the process ends.
class SubstitutingCodeSet final : public CodeSet::NCS_C {
  public:
    SubstitutingCodeSet(CodeSet::NCS_C& native, const char* name)
        : NCS_C(native.id(), name, CodeSet::CS_Other), native_(native) {}

    void marshalChar(cdrStream& stream, CodeSet::TCS_C* peers, CORBA::Char character) override {
        try {
            // raises before it writes anything
            native_.marshalChar(stream, peers, character);
        } catch (const CORBA::DATA_CONVERSION&) {
            native_.marshalChar(stream, peers, kSubstitute);
        }
    }

    void marshalString(cdrStream& stream, CodeSet::TCS_C* peers, CORBA::ULong bound, CORBA::ULong,
                       const char* text) override {
        const std::string_view all(text);
        if (isAscii(all) || canHold(peers, text))
            write(stream, peers, bound, all);
        else
            write(stream, peers, bound, substituted(peers, all));
    }

    CORBA::Char unmarshalChar(cdrStream& stream, CodeSet::TCS_C* peers) override {
        return native_.unmarshalChar(stream, peers);
    }
    CORBA::ULong unmarshalString(cdrStream& stream, CodeSet::TCS_C* peers, CORBA::ULong bound,
                                 char*& text) override {
        return native_.unmarshalString(stream, peers, bound, text);
    }

  private:
    /// `text` ends with a null octet.
    void write(cdrStream& stream, CodeSet::TCS_C* peers, CORBA::ULong bound,
               std::string_view text) const {
        native_.marshalString(stream, peers, bound, static_cast<CORBA::ULong>(text.size()),
                              text.data());
    }

    bool canHold(CodeSet::TCS_C* peers, const char* text) const {
        cdrCountingStream trial(peers, nullptr);
        try {
            write(trial, peers, 0, text);
        } catch (const CORBA::DATA_CONVERSION&) {
            return false;
        }
        return true;
    }

    std::string substituted(CodeSet::TCS_C* peers, std::string_view text) const {
        std::string changed;
        while (!text.empty()) {
            const std::string character(text.substr(0, firstCharacter(text)));
            if (canHold(peers, character.c_str()))
                changed += character;
            else
                changed += kSubstitute;
            text.remove_prefix(character.size());
        }
        return changed;
    }

    CodeSet::NCS_C& native_;
};

/// Kept until the process ends, like the ORB's list.
std::map<std::string, std::unique_ptr<SubstitutingCodeSet>>& entered() {
    static auto* all = new std::map<std::string, std::unique_ptr<SubstitutingCodeSet>>;
    return *all;
}

}  // namespace

std::string enterSubstitutingCodeSet(const std::string& native) {
    CodeSet::NCS_C* const known = CodeSet::getNCS_C(native.c_str());
    if (known == nullptr)
        return native;
    std::string name = native + "?";
    const auto [entry, isNew] = entered().try_emplace(name);
    if (isNew) {
        // the code set keeps a pointer to its name, which the map owns
        entry->second = std::make_unique<SubstitutingCodeSet>(*known, entry->first.c_str());
        CodeSet::registerNCS_C(entry->second.get());
    }
    return name;
}

}  // namespace kelp::orb
