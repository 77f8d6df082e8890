#pragma once

#include <mtnm/emsSession.h>
#include <mtnm/managedElementManager.h>

#include <cstddef>
#include <istream>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "support/iterator_mixture.h"

namespace kelp::test {

/// The calls of one NMS that reads the names of all managed elements, a long list. The iterators it
/// has opened are numbered from 0. A number stays valid after the iterator's end.
class ElementLists {
  public:
    /// Use this session from now on.
    void use(emsSession::EmsSession_I_ptr session);

    /// Carry out a command written by NmsLists, and return its answer.
    std::string carryOut(CORBA::ORB_ptr orb, std::istream& words);

  private:
    using Iterator_ptr = globaldefs::NamingAttributesIterator_I_ptr;
    using Iterator_var = globaldefs::NamingAttributesIterator_I_var;

    /// Return the iterator for the rest of the list, nil if there is no rest. Append the first
    /// names to `names`.
    Iterator_var ask(CORBA::ULong howMany, std::vector<std::string>& names);
    std::string askOnce(CORBA::ULong howMany);
    std::string openMany(int threads, int each, bool isWatched);
    std::string probe();
    struct Walk {
        std::vector<std::string> names;
        std::size_t largest = 0;  ///< entries in the largest batch
        Iterator_var rest;
    };
    Walk readAll(CORBA::ULong howMany);
    std::string walk(CORBA::ULong howMany);
    void mix();
    std::string mixed();
    std::string unmix();
    std::size_t remember(Iterator_ptr iterator);
    Iterator_var at(std::size_t number);
    std::vector<Iterator_var> latest(std::size_t most);

    managedElementManager::ManagedElementMgr_I_var manager_;
    std::mutex mutex_;
    std::vector<Iterator_var> iterators_;  // guarded by mutex_
    std::vector<std::string> all_;
    std::unique_ptr<IteratorMixture> mixture_;
};

}  // namespace kelp::test
