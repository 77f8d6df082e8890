#pragma once

#include <kelp/orb/corba.h>

#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>

namespace NS_KELPCORBA {

/// The open iterators in the order of their opening: all of them, and those of each session. Holds
/// pointers only. A session is known by the name of its POA; an iterator that belongs to none has
/// an empty one. Not thread safe.
class OpenIterators {
  public:
    using Iterator = PortableServer::ServantBase*;

    void add(Iterator iterator, const std::string& session);
    /// False when it is not there.
    bool remove(Iterator iterator);
    /// Takes the oldest one out; null when there is none.
    Iterator takeOldest();
    /// The same of one session; null also when the oldest is `kept`.
    Iterator takeOldestOf(const std::string& session, Iterator kept = nullptr);
    std::size_t count() const { return all_.size(); }

    /// An iterator of this session is being activated, and counts as one of its until arrived().
    void expect(const std::string& session);
    void arrived(const std::string& session);
    /// Open ones of this session, with those expected.
    std::size_t countOf(const std::string& session) const;

  private:
    using List = std::list<Iterator>;
    struct OfSession {
        List open;  ///< oldest first
        std::size_t expected = 0;
    };
    using Sessions = std::unordered_map<std::string, OfSession>;
    struct Place {
        List::iterator among;  ///< all
        List::iterator own;    ///< among those of its session
        std::string session;
    };

    void forgetIfEmpty(Sessions::iterator session);

    List all_;  ///< oldest first
    Sessions sessions_;
    std::unordered_map<Iterator, Place> places_;
};

}  // namespace NS_KELPCORBA
