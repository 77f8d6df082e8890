#pragma once

#include <kelp/orb/corba.h>

#include <atomic>

namespace kelp::orb {

/// A local object (servant manager) that counts its references, from one, whether or not the ORB's
/// LocalObject does. The POA's reference keeps it alive; it is deleted with the last one.
template <class Base>
class CountedLocal : public virtual Base, public virtual CORBA::LocalObject {
  public:
    void _add_ref() override { ++references_; }
    void _remove_ref() override {
        if (--references_ == 0)
            delete this;
    }

  protected:
    ~CountedLocal() override = default;

  private:
    std::atomic<long> references_{1};
};

}  // namespace kelp::orb
