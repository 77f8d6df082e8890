#pragma once

#include <string>
#include <string_view>

namespace NS_CORBA {

/// What a tagged session name says (see TEUserHelper); empty for a name of another form.
struct SessionNameParts {
    std::string_view user;
    std::string_view nmsAddress;  ///< "address:port"
};

/// Parts of `sessionName` itself.
SessionNameParts partsOfSessionName(std::string_view sessionName);

/// The parts of one session name after the other. A connection's requests belong to one session
/// most of the time: a name that is asked for again is not searched again. For one thread.
class LastSessionName {
  public:
    /// Borrowed until the next call.
    const SessionNameParts& parts(std::string_view sessionName);

  private:
    std::string name_;
    SessionNameParts parts_;  ///< of name_
};

}  // namespace NS_CORBA
