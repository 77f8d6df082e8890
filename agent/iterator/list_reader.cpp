#include <kelp/agent/list_reader.h>
#include <kelp/corbabase/trace.h>

namespace NS_KELPCORBA {

void traceListFailure(const char* what) {
    NS_CORBA::tracePoint("typediterator");
    NS_CORBA::TaTrace("[TypedIterator] The list cannot be read: %s", what);
}

void traceNothingAhead(const char* what) {
    NS_CORBA::tracePoint("typediterator");
    NS_CORBA::TaTrace("[TypedIterator] The next batch cannot be read ahead: %s", what);
}

}  // namespace NS_KELPCORBA
