#pragma once

#include <kelp/agent/typed_iterator.h>

#include <vector>

#include "support/agent_fixture.h"
#include "support/numbered_names.h"

namespace kelp::test {

using globaldefs::NamingAttributesIterator_I;
using globaldefs::NamingAttributesIterator_I_ptr;
using globaldefs::NamingAttributesIterator_I_var;
using globaldefs::NamingAttributesList_T_var;
using NameIterator = NS_KELPCORBA::TypedIterator<
    NamingAttributesIterator_I, POA_globaldefs::NamingAttributesIterator_I,
    globaldefs::NamingAttributesList_T, globaldefs::NamingAttributesList_T_out>;

struct Batch {
    std::vector<int> numbers;
    bool isMore = false;
};

inline Batch next(NamingAttributesIterator_I_ptr iterator, CORBA::ULong howMany) {
    NamingAttributesList_T_var names;
    Batch batch;
    batch.isMore = iterator->next_n(howMany, names.out());
    batch.numbers = numbersOf(names.in());
    return batch;
}

inline bool isClosed(NamingAttributesIterator_I_ptr iterator) {
    return isGone([&] { iterator->getLength(); });
}

}  // namespace kelp::test
