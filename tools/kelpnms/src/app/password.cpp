#include "app/password.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "common/hidden_input.h"

namespace kelp::nms {

namespace {

using util::Secret;

Secret fromFile(const std::string& file) {
    bool othersCanRead = false;
    Secret line = tools::firstLineOf(file, othersCanRead);
    if (line.text().empty())
        throw NoPassword("no password in the first line of " + file);
    return line;
}

}  // namespace

Secret readPassword(const std::string& file, const std::string& user) {
    try {
        if (!file.empty())
            return fromFile(file);
        if (const char* password = std::getenv("KELPNMS_PASSWORD"); password != nullptr)
            return Secret(password);
        if (::isatty(STDIN_FILENO) == 0)
            throw NoPassword("no password: give --password-file or set KELPNMS_PASSWORD");
        return std::move(tools::askHidden({"Password of " + user + ": "}).front());
    } catch (const tools::InputInterrupted&) {
        throw;
    } catch (const NoPassword&) {
        throw;
    } catch (const std::runtime_error& problem) {
        throw NoPassword(problem.what());
    }
}

Secret readKeyPassword(const std::string& file) {
    try {
        return file.empty() ? Secret() : fromFile(file);
    } catch (const NoPassword&) {
        throw;
    } catch (const std::runtime_error& problem) {
        throw NoPassword(problem.what());
    }
}

}  // namespace kelp::nms
