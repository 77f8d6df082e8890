#include <binding_iterator.h>
#include <context_servant.h>
#include <cos_names.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "targets.h"
#include "unit/naming/fake_surroundings.h"

namespace kelp::fuzz {

namespace {

using CosNaming::NamingContext;
using namespace kelp::naming;
using test::FakeSurroundings;

/// The outcome of a call, as far as a caller may learn it.
enum class End { Done, NotFound, InvalidName, InvalidAddress, NoPermission, Gone };

template <class Call>
End ended(Call call) {
    try {
        call();
        return End::Done;
    } catch (const NamingContext::NotFound& failure) {
        require(failure.rest_of_name.length() > 0,
                "a name is not found, but nothing of it is left");
        return End::NotFound;
    } catch (const NamingContext::InvalidName&) {
        return End::InvalidName;
    } catch (const CosNaming::NamingContextExt::InvalidAddress&) {
        return End::InvalidAddress;
    } catch (const CORBA::NO_PERMISSION&) {
        return End::NoPermission;
    } catch (const CORBA::OBJECT_NOT_EXIST&) {
        return End::Gone;
    }
}

/// A naming service without an ORB, called from outside.
class Service {
  public:
    explicit Service(const std::string& contextId) {
        script_.objectId = contextId;
        script_.caller = "192.0.2.1";
    }

    ContextServant& context() { return *any_; }
    IteratorTable& iterators() { return tree_->iterators(); }
    std::size_t refused() const { return refused_; }
    FakeSurroundings::Script& script() { return script_; }

    /// Return all entries of all contexts.
    std::vector<std::vector<NameEntry>> everything() const {
        std::vector<std::vector<NameEntry>> all;
        for (const char* path : {"a.x", "a.x/b", "c"})
            all.push_back(tree_->list(util::toNamingPath(path)));
        all.push_back(tree_->list({}));
        return all;
    }

  private:
    FakeSurroundings::Script script_;
    std::size_t refused_ = 0;
    std::shared_ptr<ServedTree> tree_ = std::make_shared<ServedTree>(
        NamingSettings{{{"a", "x"}, {"b", ""}, {"object", "y"}}, {{{"c", ""}, {"", "d"}}}, {}},
        std::make_unique<FakeSurroundings>(script_), [this](const RefusedChange& change) {
            require(change.name.size() <= 200, "a refused name is reported at length");
            ++refused_;
        });
    AnyContext* any_ = new AnyContext(tree_);
    const PortableServer::ServantBase_var owner_{any_};
};

/// Each line is a component. Its kind follows the first tab. Neither can contain a zero octet.
CosNaming::Name nameOf(const std::string& text) {
    CosNaming::Name name;
    for (std::size_t at = 0; at < text.size();) {
        const std::string line = text.substr(at, text.find('\n', at) - at);
        at += line.size() + 1;
        const std::size_t tab = std::min(line.find('\t'), line.size());
        const CORBA::ULong length = name.length();
        name.length(length + 1);
        name[length].id = line.substr(0, tab).c_str();
        name[length].kind = line.substr(std::min(tab + 1, line.size())).c_str();
    }
    return name;
}

void checkTextOfName(Service& service, const CosNaming::Name& name) {
    std::string text;
    const End end = ended([&] {
        const CORBA::String_var made = service.context().to_string(name);
        text = made.in();
    });
    require(end == End::Done || end == End::InvalidName, "to_string ends otherwise");
    if (end != End::Done)
        return;
    CosNaming::Name_var again = service.context().to_name(text.c_str());
    require(pathOf(again.in()) == pathOf(name), "a name's text leads to another name");
    const CORBA::String_var url = service.context().to_url(":ems:4801", text.c_str());
    const std::string urlText = url.in();
    require(std::all_of(urlText.begin(), urlText.end(), [](char c) { return c > ' ' && c < 0x7f; }),
            "a URL has characters in it that none may have");
}

void checkResolving(Service& service, const CosNaming::Name& name, const std::string& text) {
    const End byName =
        ended([&] { const CORBA::Object_var found = service.context().resolve(name); });
    require(byName != End::NoPermission && byName != End::InvalidAddress, "resolve ends otherwise");
    const End byText =
        ended([&] { const CORBA::Object_var found = service.context().resolve_str(text.c_str()); });
    require(byText != End::NoPermission && byText != End::InvalidAddress,
            "resolve_str ends otherwise");
}

void checkTextOfACaller(Service& service, const std::string& text) {
    std::optional<util::NamingPath> path;
    const End end = ended([&] {
        CosNaming::Name_var name = service.context().to_name(text.c_str());
        path = pathOf(name.in());
    });
    require(end == End::Done || end == End::InvalidName, "to_name ends otherwise");
    require(!path || pathOf(toText(*path).c_str()) == *path,
            "a name read is read otherwise when said again");
    const End asUrl =
        ended([&] { const CORBA::String_var url = service.context().to_url(text.c_str(), "a.b"); });
    require(asUrl == End::Done || asUrl == End::InvalidAddress, "to_url ends otherwise");
}

void checkChanging(Service& service, const CosNaming::Name& name) {
    ContextServant& context = service.context();
    const auto object = CORBA::Object::_nil();
    const auto other = NamingContext::_nil();
    const std::size_t before = service.refused();
    require(ended([&] { context.bind(name, object); }) == End::NoPermission &&
                ended([&] { context.rebind(name, object); }) == End::NoPermission &&
                ended([&] { context.unbind(name); }) == End::NoPermission &&
                ended([&] { context.bind_context(name, other); }) == End::NoPermission &&
                ended([&] { context.rebind_context(name, other); }) == End::NoPermission &&
                ended([&] { context.bind_new_context(name); }) == End::NoPermission &&
                ended([&] { context.new_context(); }) == End::NoPermission &&
                ended([&] { context.destroy(); }) == End::NoPermission,
            "a modification from outside is not refused");
    require(service.refused() == before + 8, "a refused modification is not reported");
}

void checkListing(Service& service, std::size_t howMany) {
    CosNaming::BindingList_var list;
    CosNaming::BindingIterator_var iterator;
    const End end = ended([&] {
        service.context().list(static_cast<CORBA::ULong>(howMany), list.out(), iterator.out());
    });
    require(end == End::Done || end == End::Gone, "list ends otherwise");
    require(service.iterators().size() <= 1, "iterators pile up");
}

}  // namespace

void fuzzNaming(Input input) {
    // the first line is the object id of the called context, the other lines are the name
    const std::string all = textOf(input);
    const std::size_t line = std::min(all.find('\n'), all.size());
    const std::string rest = all.substr(std::min(line + 1, all.size()));
    for (const std::string& context : {std::string("/"), std::string("a.x"), all.substr(0, line)}) {
        Service service(context);
        const auto before = service.everything();
        const CosNaming::Name name = nameOf(rest);
        checkTextOfName(service, name);
        checkResolving(service, name, rest);
        checkTextOfACaller(service, rest);
        checkChanging(service, name);
        checkListing(service, rest.size());
        require(service.everything() == before, "the tree has changed");
    }
}

}  // namespace kelp::fuzz
