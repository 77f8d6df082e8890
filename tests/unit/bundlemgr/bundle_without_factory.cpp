#include <kelp/util/export.h>

#ifdef WITH_UNRESOLVED_SYMBOL
extern "C" int kelptest_function_that_nobody_has();
#endif

extern "C" KELP_EXPORT int kelptest_anything();

extern "C" int kelptest_anything() {
#ifdef WITH_UNRESOLVED_SYMBOL
    return kelptest_function_that_nobody_has();
#else
    return 0;
#endif
}
