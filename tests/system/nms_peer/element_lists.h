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

/// What one NMS does with the names of all managed elements, which come as long lists. The
/// iterators that it has opened are known by their number, from 0 on, also after their end.
class ElementLists {
  public:
    /// Asks in this session from now on.
    void use(emsSession::EmsSession_I_ptr session);

    /// Carries out a command (NmsLists writes them); its answer.
    std::string carryOut(CORBA::ORB_ptr orb, std::istream& words);

  private:
    using Iterator_ptr = globaldefs::NamingAttributesIterator_I_ptr;
    using Iterator_var = globaldefs::NamingAttributesIterator_I_var;

    /// The names that came first, and the iterator for the rest; nil when there is none.
    Iterator_var ask(CORBA::ULong howMany, std::vector<std::string>& names);
    std::string askOnce(CORBA::ULong howMany);
    std::string openMany(int threads, int each, bool isWatched);
    std::string probe();
    struct Walk {
        std::vector<std::string> names;
        std::size_t largest = 0;  ///< batch
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
