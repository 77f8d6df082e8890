#include <kelp/agent/typed_iterator.h>
#include <kelp/corbabase/base_config.h>

namespace NS_KELPCORBA {

CORBA::ULong iteratorBatchMax() {
    return static_cast<CORBA::ULong>(
        NS_CORBA::CorbaBaseAgentConfig::Instance()->IteratorBatchMax());
}

}  // namespace NS_KELPCORBA
