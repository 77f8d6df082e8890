#include <kelp/agent/typed_iterator.h>

#include "util/tracepoint.h"

#include <kelp/corbabase/base_config.h>

namespace NS_KELPCORBA {

CORBA::ULong iteratorBatchMax() {
    return static_cast<CORBA::ULong>(NS_CORBA::CorbaBaseAgentConfig::Instance()->IteratorBatchMax());
}

void traceListFailure(const char* what) {
    tracePoint("typediterator");
    NS_CORBA::TaTrace("[TypedIterator] The list cannot be read: %s", what);
}

}  // namespace NS_KELPCORBA
