#include "text/display_text.h"

#include <locale.h>
#include <wchar.h>

namespace kelp::nms {

namespace {

/// Sets a UTF-8 locale on the calling thread for the length of a scope, whatever the environment
/// says.
class Utf8Scope {
  public:
    Utf8Scope() : before_(::uselocale(utf8())) {}
    ~Utf8Scope() { ::uselocale(before_); }
    Utf8Scope(const Utf8Scope&) = delete;
    Utf8Scope& operator=(const Utf8Scope&) = delete;

  private:
    static locale_t utf8() {
        static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
        return locale;
    }
    const locale_t before_;
};

/// Return the columns of the longest beginning of the text that fits into `limit` columns. `bytes`
/// is set to its length in bytes.
std::size_t columnsWithin(const std::string& text, std::size_t limit, std::size_t& bytes) {
    const Utf8Scope utf8;
    mbstate_t state{};
    std::size_t columns = 0;
    bytes = 0;
    while (bytes < text.size()) {
        wchar_t character = 0;
        std::size_t length =
            ::mbrtowc(&character, text.data() + bytes, text.size() - bytes, &state);
        int width = 1;
        if (length == 0 || length > text.size() - bytes) {
            length = 1;  // an invalid byte takes one column
            state = {};
        } else if (const int known = ::wcwidth(character); known >= 0) {
            width = known;
        }
        if (columns + static_cast<std::size_t>(width) > limit)
            break;
        columns += static_cast<std::size_t>(width);
        bytes += length;
    }
    return columns;
}

}  // namespace

std::size_t displayWidth(const std::string& text) {
    std::size_t bytes = 0;
    return columnsWithin(text, std::string::npos, bytes);
}

std::string cutTo(const std::string& text, std::size_t columns) {
    std::size_t bytes = 0;
    columnsWithin(text, columns, bytes);
    if (bytes == text.size())
        return text;
    if (columns == 0)
        return {};
    columnsWithin(text, columns - 1, bytes);
    return text.substr(0, bytes) + '~';
}

std::string paddedTo(const std::string& text, std::size_t columns) {
    const std::size_t width = displayWidth(text);
    return width < columns ? text + std::string(columns - width, ' ') : text;
}

std::string countOf(std::size_t number, const std::string& noun) {
    return std::to_string(number) + ' ' + noun + (number == 1 ? "" : "s");
}

}  // namespace kelp::nms
