#include <ace/Service_Object.h>
#include <kelp/util/export.h>

#include <memory>

// A service object of ACE that is not derived from the bundle manager's.
extern "C" {
KELP_EXPORT ACE_Service_Object* _make_kelptest_foreign(ACE_Service_Object_Exterminator*);

ACE_Service_Object* _make_kelptest_foreign(ACE_Service_Object_Exterminator*) {
    return std::make_unique<ACE_Service_Object>().release();
}
}
