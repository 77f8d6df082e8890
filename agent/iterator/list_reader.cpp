#include <kelp/agent/list_reader.h>

#include "util/trace_point.h"

namespace NS_KELPCORBA {

void traceListFailure(const char* what) {
    tracePoint("typediterator");
    NS_CORBA::TaTrace("[TypedIterator] The list cannot be read: %s", what);
}

void traceNothingAhead(const char* what) {
    tracePoint("typediterator");
    NS_CORBA::TaTrace("[TypedIterator] The next batch cannot be read ahead: %s", what);
}

}  // namespace NS_KELPCORBA
