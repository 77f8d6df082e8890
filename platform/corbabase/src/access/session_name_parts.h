#pragma once

#include <string>
#include <string_view>

namespace NS_CORBA {

/// The parts of a tagged session name (see TEUserHelper); empty for a name of another form.
struct SessionNameParts {
    std::string_view user;
    std::string_view nmsAddress;  ///< "address:port"
};

/// Return the parts as views into `sessionName`.
SessionNameParts partsOfSessionName(std::string_view sessionName);

/// Keeps the parts of the session name asked for last. Consecutive requests of a connection mostly
/// belong to one session, so its name is parsed only once. Used by one thread.
class LastSessionName {
  public:
    /// Valid until the next call.
    const SessionNameParts& parts(std::string_view sessionName);

  private:
    std::string name_;
    SessionNameParts parts_;  ///< of name_
};

}  // namespace NS_CORBA
