#pragma once

#include <kelp/orb/corba.h>

#include <atomic>

namespace kelp::orb {

/// A local object, such as a servant manager, that counts its references whether or not the ORB's
/// LocalObject does. The count starts at one, and releasing the last reference deletes the object.
/// A POA holds a reference to the servant manager that it uses. References may be added and
/// released on any thread.
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
