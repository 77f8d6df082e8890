#include <kelp/util/naming_path.h>

#include <algorithm>
#include <stdexcept>

namespace kelp::util {

namespace {

std::string escapedPart(const std::string& part) {
    std::string escaped;
    for (const char c : part) {
        if (c == '/' || c == '.' || c == '\\')
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::string toText(const NamingComponent& component) {
    std::string text = escapedPart(component.id);
    // a single dot is an empty id with an empty kind
    if (!component.kind.empty() || component.id.empty())
        text += '.' + escapedPart(component.kind);
    return text;
}

/// Reads a stringified name one component at a time.
class Reader {
  public:
    explicit Reader(const std::string& text) : text_(text) {}

    bool atEnd() const { return position_ >= text_.size(); }

    /// Read the component up to the next unescaped '/', and skip the '/'.
    NamingComponent component() {
        NamingComponent component;
        bool inKind = false;
        bool empty = true;
        while (!atEnd() && text_[position_] != '/') {
            empty = false;
            if (text_[position_] == '.') {
                if (inKind)
                    fail("a second unescaped '.' in a component");
                inKind = true;
                ++position_;
                continue;
            }
            (inKind ? component.kind : component.id) += character();
        }
        if (empty)
            fail("an empty component");
        if (!atEnd()) {
            ++position_;
            if (atEnd())
                fail("nothing after the last '/'");
        }
        return component;
    }

  private:
    char character() {
        if (text_[position_] == '\\') {
            ++position_;
            if (atEnd() ||
                (text_[position_] != '/' && text_[position_] != '.' && text_[position_] != '\\'))
                fail("a '\\' that escapes neither '/', '.' nor '\\'");
        }
        return text_[position_++];
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw std::invalid_argument("no naming path: " + what + " in \"" + text_ + "\"");
    }

    const std::string& text_;
    std::size_t position_ = 0;
};

}  // namespace

std::string toText(const NamingPath& path) {
    std::string text;
    for (const NamingComponent& component : path) {
        if (!text.empty())
            text += '/';
        text += toText(component);
    }
    return text;
}

NamingPath toNamingPath(const std::string& text) {
    if (text.empty())
        throw std::invalid_argument("no naming path: the text is empty");
    Reader reader(text);
    NamingPath path;
    while (!reader.atEnd())
        path.push_back(reader.component());
    return path;
}

NamingPath factoryPath(const std::string& emsName, const std::string& version) {
    const std::string company = emsName.substr(0, emsName.find_first_of("/:"));
    std::string versionId = version;
    std::replace(versionId.begin(), versionId.end(), '.', '_');
    return {{"TMF_MTNM", "Class"},
            {company, "Vendor"},
            {emsName, "EmsInstance"},
            {versionId, "Version"},
            {emsName, "EmsSessionFactory_I"}};
}

}  // namespace kelp::util
