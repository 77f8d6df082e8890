#include "lists.h"

namespace kelp::bench {

namespace {

using Clock = std::chrono::steady_clock;

template <class Sequence, class Iterator>
class TypedList final : public OpenList {
  public:
    TypedList(const Sequence& some, typename Iterator::_ptr_type rest) : rest_(rest) {
        first_ = some.length();
        isMore_ = !CORBA::is_nil(rest);
    }
    CORBA::ULong next(CORBA::ULong howMany) override {
        typename Sequence::_var_type batch;
        isMore_ = rest_->next_n(howMany, batch.out());
        return batch->length();
    }
    CORBA::ULong rest() override { return CORBA::is_nil(rest_.in()) ? 0 : rest_->getLength(); }
    void destroy() override {
        rest_->destroy();
        isMore_ = false;
    }
    CORBA::Object_ptr iterator() const override { return rest_.in(); }

  private:
    typename Iterator::_var_type rest_;
};

std::unique_ptr<OpenList> openElements(const ListServer& server, CORBA::ULong howMany) {
    managedElement::ManagedElementList_T_var some;
    managedElement::ManagedElementIterator_I_var rest;
    server.manager->getAllManagedElements(howMany, some.out(), rest.out());
    return std::make_unique<
        TypedList<managedElement::ManagedElementList_T, managedElement::ManagedElementIterator_I>>(
        some.in(), rest._retn());
}

std::unique_ptr<OpenList> openPorts(const ListServer& server, const ListName& name,
                                    CORBA::ULong howMany) {
    const transmissionParameters::LayerRateList_T anyRate;
    terminationPoint::TerminationPointList_T_var some;
    terminationPoint::TerminationPointIterator_I_var rest;
    server.manager->getAllPTPs(name.element, anyRate, anyRate, howMany, some.out(), rest.out());
    return std::make_unique<TypedList<terminationPoint::TerminationPointList_T,
                                      terminationPoint::TerminationPointIterator_I>>(some.in(),
                                                                                     rest._retn());
}

}  // namespace

std::unique_ptr<OpenList> open(const ListServer& server, const ListName& name,
                               CORBA::ULong howMany) {
    return name.isOfElements() ? openElements(server, howMany) : openPorts(server, name, howMany);
}

std::vector<ListName> portListsOf(const ListServer& server) {
    constexpr CORBA::ULong batch = 1000;
    std::vector<ListName> names;
    const auto append = [&](const globaldefs::NamingAttributesList_T& some) {
        for (CORBA::ULong i = 0; i < some.length(); ++i)
            names.push_back({some[i]});
    };
    globaldefs::NamingAttributesList_T_var some;
    globaldefs::NamingAttributesIterator_I_var rest;
    server.manager->getAllManagedElementNames(batch, some.out(), rest.out());
    append(some.in());
    for (bool isMore = !CORBA::is_nil(rest.in()); isMore;) {
        isMore = rest->next_n(batch, some.out());
        append(some.in());
    }
    return names;
}

Walk walk(const ListServer& server, const ListName& name, const Asks& asks, std::size_t most) {
    Walk result;
    const auto add = [&](CORBA::ULong count) {
        result.objects += count;
        result.batches.push_back(count);
    };
    const Clock::time_point begin = Clock::now();
    const std::unique_ptr<OpenList> list = open(server, name, asks.at(0));
    add(list->first());
    while (list->isMore() && result.objects < most)
        add(list->next(asks.at(result.batches.size())));
    if (list->isMore())
        list->destroy();
    result.took = Clock::now() - begin;
    return result;
}

}  // namespace kelp::bench
