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

/// A server from which lists are uploaded: the product or a floor.
struct ListServer {
    std::string name;
    pid_t pid = 0;
    managedElementManager::ManagedElementMgr_I_var manager;
};

/// The name of a list: the ports of an element, or, without the element's name, all elements.
struct ListName {
    globaldefs::NamingAttributes_T element;
    bool isOfElements() const { return element.length() == 0; }
};

/// A list whose batches are fetched and discarded. Operations throw CORBA::Exception.
class OpenList {
  public:
    virtual ~OpenList() = default;

    /// Number of entries in the first batch, which the server returned together with the iterator.
    CORBA::ULong first() const { return first_; }
    /// Whether there may be more entries.
    bool isMore() const { return isMore_; }
    /// Fetch the next batch and return its number of entries.
    virtual CORBA::ULong next(CORBA::ULong howMany) = 0;
    /// Return the number of entries after the first batch.
    virtual CORBA::ULong rest() = 0;
    /// End the list before it is complete.
    virtual void destroy() = 0;
    /// Return the iterator; nil when the first batch had all entries. The reference is borrowed.
    virtual CORBA::Object_ptr iterator() const = 0;

  protected:
    CORBA::ULong first_ = 0;
    bool isMore_ = false;
};

/// Request a list with its first entries. Throws CORBA::Exception.
std::unique_ptr<OpenList> open(const ListServer& server, const ListName& name,
                               CORBA::ULong howMany);

/// Return the port lists of all elements, in the order of the list of elements. Throws
/// CORBA::Exception.
std::vector<ListName> portListsOf(const ListServer& server);

/// The number of entries to request in each batch.
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
    std::vector<CORBA::ULong> batches;  ///< the number of entries in each batch
    double perSecond() const {
        return static_cast<double>(objects) / std::chrono::duration<double>(took).count();
    }
};

/// Upload a list from its beginning until it ends or `most` entries have been received. Throws
/// CORBA::Exception.
Walk walk(const ListServer& server, const ListName& name, const Asks& asks,
          std::size_t most = std::numeric_limits<std::size_t>::max());

}  // namespace kelp::bench
