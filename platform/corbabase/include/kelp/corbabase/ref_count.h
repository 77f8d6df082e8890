#pragma once

#include <kelp/corbabase/trace.h>

namespace NS_CORBA {

/// A servant of class S, made from one parameter, that lives by its reference count: one at
/// construction, gone with the last `_remove_ref`.
template <class S, class Parameter>
class RefCount_OneParameter : public S {
  public:
    explicit RefCount_OneParameter(Parameter parameter) : S(parameter) {
        GetTss()->Set("RefCount_OneParameter", "unknown", __LINE__);
        TaDebug(3, "[ RefCount_OneParameter]  ref_count!");
    }

  protected:
    ~RefCount_OneParameter() override {
        GetTss()->Set("RefCount_OneParameter", "unknown", __LINE__);
        TaDebug(3, "[ ~RefCount_OneParameter]  Reference count associated object destroyed!");
    }
};

}  // namespace NS_CORBA
