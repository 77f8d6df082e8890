#include <kelp/users/user_name.h>
#include <kelp/util/trace_log.h>
#include <kelp/util/utf8.h>

#include <string_view>

namespace kelp::users {

std::string problemOfUserName(const std::string& name) {
    if (name.empty())
        return "the user name must not be empty";
    if (name.size() > kNameBytesMax)
        return "the user name must have at most " + std::to_string(kNameBytesMax) + " bytes";
    for (std::string_view rest = name; !rest.empty();) {
        const std::size_t length = util::printableCharacterAt(rest);
        if (length == 0)
            return "the user name \"" + util::escaped(name) +
                   "\" holds a character that cannot be printed";
        if (rest.front() == '<' || rest.front() == '>')
            return "the user name \"" + name +
                   "\" holds '<' or '>', which mark where a name begins and ends in a session's "
                   "name";
        rest.remove_prefix(length);
    }
    return {};
}

}  // namespace kelp::users
