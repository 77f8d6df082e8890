#pragma once

#include <kelp/orb/corba.h>
#include <mtnm/managedElementManager.h>
#include <sys/types.h>

#include <chrono>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelp::bench {

/// Where lists are uploaded from: the product, or a floor.
struct ListServer {
    std::string name;
    pid_t pid = 0;
    managedElementManager::ManagedElementMgr_I_var manager;
};

/// Which list: the ports of an element, or, without its name, all elements.
struct ListName {
    globaldefs::NamingAttributes_T element;
    bool isOfElements() const { return element.length() == 0; }
};

/// A list of which batches are fetched and thrown away. Its operations throw CORBA::Exception.
class OpenList {
  public:
    virtual ~OpenList() = default;

    /// Entries of the first batch, which came with the list.
    CORBA::ULong first() const { return first_; }
    /// Whether there may be more.
    bool isMore() const { return isMore_; }
    /// Fetches the next batch; gives how many entries it has.
    virtual CORBA::ULong next(CORBA::ULong howMany) = 0;
    /// Entries behind the first batch.
    virtual CORBA::ULong rest() = 0;
    /// Ends it early.
    virtual void destroy() = 0;
    /// Its iterator; nil when all came with the first batch. Borrowed.
    virtual CORBA::Object_ptr iterator() const = 0;

  protected:
    CORBA::ULong first_ = 0;
    bool isMore_ = false;
};

/// Asks for a list, with its first entries. Throws CORBA::Exception.
std::unique_ptr<OpenList> open(const ListServer& server, const ListName& name,
                               CORBA::ULong howMany);

/// Names of all elements, in the order of their list. Throws CORBA::Exception.
std::vector<ListName> portListsOf(const ListServer& server);

/// How many entries are asked for, batch by batch.
class Asks {
  public:
    explicit Asks(CORBA::ULong always) : always_(always) {}
    explicit Asks(std::vector<CORBA::ULong> inTurn) : inTurn_(std::move(inTurn)) {}
    CORBA::ULong at(std::size_t batch) const {
        return inTurn_.empty() ? always_ : inTurn_.at(batch);
    }

  private:
    CORBA::ULong always_ = 0;
    std::vector<CORBA::ULong> inTurn_;
};

struct Walk {
    std::size_t objects = 0;
    std::chrono::nanoseconds took{};
    std::vector<CORBA::ULong> batches;  ///< entries of each
    double perSecond() const {
        return static_cast<double>(objects) / std::chrono::duration<double>(took).count();
    }
};

/// Uploads a list from its beginning, until it ends or so many entries have come. Throws
/// CORBA::Exception.
Walk walk(const ListServer& server, const ListName& name, const Asks& asks,
          std::size_t most = std::numeric_limits<std::size_t>::max());

}  // namespace kelp::bench
