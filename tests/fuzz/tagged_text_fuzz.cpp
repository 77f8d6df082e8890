#include <kelp/util/thread_context.h>

#include <algorithm>
#include <iterator>
#include <limits>

#include "targets.h"

namespace kelp::fuzz {

namespace {

constexpr const char* kUserTags[] = {"<USERNAME_TAG>", "</USERNAME_TAG>"};
constexpr const char* kAddressTags[] = {"<IPANDPORT_TAG>", "</IPANDPORT_TAG>"};

std::string valueOf(const std::string& text, const std::string& open, const std::string& close,
                    int length) {
    return NS_UTIL::SelfUtilCommon::Instance()->GetValByTag(text, open, close, length);
}
std::string valueOf(const std::string& text, const char* const (&tags)[2]) {
    return valueOf(text, tags[0], tags[1], static_cast<int>(std::string(tags[0]).size()));
}

/// Return the text between the first opening tag and the first closing tag after it, found by a
/// byte-by-byte search.
std::string between(const std::string& text, const std::string& open, const std::string& close) {
    const auto isAt = [&](std::size_t at, const std::string& tag) {
        return text.size() - at >= tag.size() &&
               std::equal(tag.begin(), tag.end(), text.begin() + static_cast<std::ptrdiff_t>(at));
    };
    std::size_t begin = 0;
    while (begin < text.size() && !isAt(begin, open))
        ++begin;
    if (!isAt(begin, open))
        return {};
    std::string value;
    for (std::size_t at = begin + open.size(); at < text.size(); ++at) {
        if (isAt(at, close))
            return value;
        value += text[at];
    }
    return {};
}

std::string withoutBrackets(std::string text) {
    std::erase_if(text, [](char c) { return c == '<' || c == '>'; });
    return text;
}

void readSessionName(const std::string& text) {
    for (const auto& tags : {kUserTags, kAddressTags})
        require(valueOf(text, tags[0], tags[1], static_cast<int>(std::string(tags[0]).size())) ==
                    between(text, tags[0], tags[1]),
                "the value is another one than between its tags");
}

/// Require that a composed name is split into its original parts.
void readWhatWasSaid(const std::string& text) {
    const std::string user = withoutBrackets(text.substr(0, text.size() / 2));
    const std::string address = withoutBrackets(text.substr(text.size() / 2));
    const std::string name =
        kUserTags[0] + user + kUserTags[1] + kAddressTags[0] + address + kAddressTags[1];
    require(valueOf(name, kUserTags) == user, "the user of a session's name is another one");
    require(valueOf(name, kAddressTags) == address,
            "the address of a session's name is another one");
}

/// Use parts of the text itself as tags, with lengths that may be wrong.
void readAnyTags(const std::string& text, Input input) {
    if (input.size() < 4)
        return;
    const std::size_t openAt = input[0] % text.size();
    const std::size_t closeAt = input[1] % text.size();
    const std::string open = text.substr(openAt, input[2] % 8u);
    const std::string close = text.substr(closeAt, input[3] % 8u);
    const int lengths[] = {
        static_cast<int>(open.size()),   static_cast<int>(static_cast<std::int8_t>(input[2])),
        static_cast<int>(text.size()),   static_cast<int>(text.size()) + 1,
        std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
    for (const int length : lengths) {
        const std::string value = valueOf(text, open, close, length);
        require(value.size() <= text.size() && text.find(value) != std::string::npos,
                "the value is no part of the text");
        require(close.empty() || value.find(close) == std::string::npos,
                "the value holds the closing tag");
        require(!close.empty() || value.empty(),
                "a closing tag of no length ends the value where it begins");
    }
}

}  // namespace

void fuzzTaggedText(Input input) {
    const std::string text = textOf(input);
    readSessionName(text);
    readWhatWasSaid(text);
    readAnyTags(text, input);
}

}  // namespace kelp::fuzz
