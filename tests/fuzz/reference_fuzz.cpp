#include <kelp/orb/references.h>

#include <algorithm>
#include <cctype>
#include <utility>

#include "targets.h"
#include "unit/orb/hand_made_reference.h"

namespace kelp::fuzz {

namespace {

using orb::decodeReference;
using orb::Endpoint;
using orb::ReferenceContent;
using namespace kelp::test;

constexpr std::size_t kContentMax = std::size_t{64} * 1024;
constexpr std::uint32_t kInternetIop = 0;

bool same(const Endpoint& a, const Endpoint& b) {
    return a.host == b.host && a.port == b.port && a.tls == b.tls;
}
bool same(const ReferenceContent& a, const ReferenceContent& b) {
    return a.typeId == b.typeId && a.objectKey == b.objectKey &&
           std::equal(a.endpoints.begin(), a.endpoints.end(), b.endpoints.begin(),
                      b.endpoints.end(),
                      [](const Endpoint& one, const Endpoint& other) { return same(one, other); });
}

bool isPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7f; });
}

/// Return a reference with the same content: one profile per address, with the object key in the
/// first.
std::string saidAgain(const ReferenceContent& content) {
    std::vector<TaggedBytes> profiles;
    std::string key = content.objectKey;
    for (const Endpoint& endpoint : content.endpoints) {
        Iiop iiop;
        iiop.host = endpoint.host;
        iiop.port = endpoint.tls ? 0 : endpoint.port;
        iiop.key = std::exchange(key, "");
        if (endpoint.tls)
            iiop.components = {sslComponent(endpoint.port)};
        profiles.push_back({kInternetIop, iiopProfile(iiop)});
    }
    if (profiles.empty() && !key.empty()) {
        Iiop unreachable;
        unreachable.port = 0;
        unreachable.key = key;
        profiles.push_back({kInternetIop, iiopProfile(unreachable)});
    }
    return referenceBytes(profiles, content.typeId, CdrWriter::Order::Big);
}

void checkContent(const ReferenceContent& content, std::size_t textSize) {
    std::size_t said = content.typeId.size() + content.objectKey.size();
    require(said * 2 <= textSize, "a reference says more than its bytes");
    require(isPrintable(content.typeId), "a type has bytes in it that cannot be printed");
    for (const Endpoint& endpoint : content.endpoints) {
        require(endpoint.port != 0, "an address has no port");
        require(!endpoint.host.empty() && endpoint.host.size() <= 255 && isPrintable(endpoint.host),
                "a host is no host");
    }
    require(content.endpoints.size() * 8 <= textSize,
            "a reference has more addresses than bytes for them");
    if (const std::string again = saidAgain(content); again.size() <= kContentMax) {
        ReferenceContent decoded;
        require(decodeReference(hexReference(again), decoded) && same(decoded, content),
                "what is read is read otherwise when said again");
    }
}

void checkReference(const std::string& text) {
    ReferenceContent content;
    content.typeId = "what was there before";
    if (!decodeReference(text, content)) {
        require(same(content, ReferenceContent{}),
                "a text that is no reference leaves something behind");
        return;
    }
    checkContent(content, text.size());
    std::string upper = text;
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    ReferenceContent decoded;
    require(decodeReference(upper, decoded) && same(decoded, content),
            "capitals make another reference");
    require(!decodeReference(text.substr(0, text.size() - 1), decoded),
            "half an octet is taken for one");
}

}  // namespace

void fuzzReference(Input input) {
    const std::string text = textOf(input);
    checkReference(text);
    checkReference(hexReference(text));
}

}  // namespace kelp::fuzz
