#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/naming/naming_service.h>
#include <kelp/orb/timeouts.h>

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "support/orb_fixture.h"

namespace kelp::test {

/// A naming service in the test's ORB. Tests call it over connections, as an NMS does, and from
/// inside.
class NamingFixture : public testing::Test {
  protected:
    NamingFixture() {
        orb::setThreadTimeout(std::chrono::seconds(30));
        service_->letCallersThrough();
        object_ = orb_.root()->create_reference("IDL:Object:1.0");
    }

    static naming::NamingSettings settings() {
        return {util::toNamingPath("TMF.Class/Kelp.Vendor/factory"),
                {util::toNamingPath("EMS.Kind/factory.Object"), util::toNamingPath("a/b/c/d/e/f")},
                {}};
    }
    void bind() {
        const CosNaming::NamingContextExt_var root = service_->root();
        root->rebind(nameOf("TMF.Class/Kelp.Vendor/factory"), object_.in());
    }

    CosNaming::NamingContextExt_ptr outside(const std::string& key = "NameService") const {
        return overTheWire(orb_.overTheWireByKey(key));
    }
    /// Return a context or iterator that the service handed out, called over a connection. Consumes
    /// the reference.
    CosNaming::NamingContextExt_ptr overTheWire(CORBA::Object_ptr object) const {
        const CORBA::Object_var owner(object);
        const CORBA::Object_var remote =
            isKeyed(object) ? CORBA::Object::_duplicate(object) : orb_.overTheWire(object);
        return CosNaming::NamingContextExt::_unchecked_narrow(remote.in());
    }
    CosNaming::BindingIterator_ptr iteratorOverTheWire(
        CosNaming::BindingIterator_ptr iterator) const {
        const CORBA::Object_var remote = orb_.overTheWire(iterator);
        return CosNaming::BindingIterator::_unchecked_narrow(remote.in());
    }

    static CosNaming::Name nameOf(const char* text) {
        CosNaming::Name name;
        for (const util::NamingComponent& component : util::toNamingPath(text)) {
            const CORBA::ULong at = name.length();
            name.length(at + 1);
            name[at].id = component.id.c_str();
            name[at].kind = component.kind.c_str();
        }
        return name;
    }
    std::string textOf(CORBA::Object_ptr object) const {
        const CORBA::String_var text = orb_.orb()->object_to_string(object);
        return text.in();
    }
    /// Return the entries of a context, read in batches of `howMany`.
    std::vector<std::string> entriesOf(CosNaming::NamingContextExt_ptr context,
                                       CORBA::ULong howMany) const {
        CosNaming::BindingList_var list;
        CosNaming::BindingIterator_var handedOut;
        context->list(howMany, list.out(), handedOut.out());
        std::vector<std::string> entries = textsOf(list);
        if (CORBA::is_nil(handedOut.in()))
            return entries;
        const CosNaming::BindingIterator_var iterator = iteratorOverTheWire(handedOut.in());
        while (iterator->next_n(howMany == 0 ? 1 : howMany, list.out())) {
            const std::vector<std::string> more = textsOf(list);
            entries.insert(entries.end(), more.begin(), more.end());
        }
        iterator->destroy();
        return entries;
    }
    std::vector<std::string> refused() {
        const std::lock_guard guard(mutex_);
        return refused_;
    }

    RunningOrb orb_;
    std::mutex mutex_;
    std::vector<std::string> refused_;  // guarded by mutex_
    std::optional<naming::NamingService> service_{
        std::in_place, orb_.orb(), orb_.root(), settings(),
        [this](const naming::RefusedChange& change) {
            const std::lock_guard guard(mutex_);
            refused_.push_back(change.operation + " " + change.name);
        }};
    CORBA::Object_var object_;

  private:
    /// A reference by key already contains another spelling of the address.
    bool isKeyed(CORBA::Object_ptr object) const {
        orb::ReferenceContent content;
        return orb::describe(orb_.orb(), object, content) &&
               content.endpoints.front().host == "127.1";
    }
    static std::vector<std::string> textsOf(const CosNaming::BindingList& list) {
        std::vector<std::string> texts;
        for (CORBA::ULong i = 0; i < list.length(); ++i) {
            const CosNaming::NameComponent& name = list[i].binding_name[0];
            texts.push_back(util::toText({{name.id.in(), name.kind.in()}}) +
                            (list[i].binding_type == CosNaming::ncontext ? "/" : ""));
        }
        return texts;
    }
};

}  // namespace kelp::test
