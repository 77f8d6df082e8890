#pragma once

#include <kelp/orb/corba.h>

#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>

namespace NS_KELPCORBA {

/// The open iterators in the order of their opening: all of them, and those of each session. Holds
/// pointers only. A session is identified by the name of its POA. The name is empty for an iterator
/// without a session. Not thread safe.
class IteratorOrder {
  public:
    using Iterator = PortableServer::ServantBase*;

    void add(Iterator iterator, const std::string& session);
    /// Return false when the iterator is not listed.
    bool remove(Iterator iterator);
    /// Remove and return the oldest iterator, or null when there is none.
    Iterator takeOldest();
    /// Remove and return the oldest iterator of one session. Null when there is none or when the
    /// oldest is `kept`.
    Iterator takeOldestOf(const std::string& session, Iterator kept = nullptr);
    std::size_t count() const { return all_.size(); }

    /// Count an iterator of this session that is being activated, until arrived().
    void expect(const std::string& session);
    void arrived(const std::string& session);
    /// Number of open and expected iterators of this session.
    std::size_t countOf(const std::string& session) const;

  private:
    using List = std::list<Iterator>;
    struct OfSession {
        List open;  ///< oldest first
        std::size_t expected = 0;
    };
    using Sessions = std::unordered_map<std::string, OfSession>;
    struct Place {
        List::iterator among;  ///< position in all_
        List::iterator own;    ///< among those of its session
        std::string session;
    };

    void forgetIfEmpty(Sessions::iterator session);

    List all_;  ///< oldest first
    Sessions sessions_;
    std::unordered_map<Iterator, Place> places_;
};

}  // namespace NS_KELPCORBA
