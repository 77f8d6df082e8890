#pragma once

#include <kelp/corbabase/trace.h>

namespace NS_CORBA {

/// A reference-counted servant of class S, constructed from one parameter. The count is 1 after
/// construction; the last `_remove_ref` destroys the servant.
template <class S, class Parameter>
class RefCount_OneParameter : public S {
  public:
    explicit RefCount_OneParameter(Parameter parameter) : S(parameter) {
        tracePoint("RefCount_OneParameter");
        TaDebug(3, "[ RefCount_OneParameter]  ref_count!");
    }

  protected:
    ~RefCount_OneParameter() override {
        tracePoint("RefCount_OneParameter");
        TaDebug(3, "[ ~RefCount_OneParameter]  Reference count associated object destroyed!");
    }
};

}  // namespace NS_CORBA
