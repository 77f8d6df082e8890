#pragma once

#include <cos/CosNotifyFilter.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>

#include "constraint.h"
#include "event_types/followed_types.h"
#include "filter/event_test.h"
#include "owners/keyed_places.h"
#include "owners/owned.h"
#include "owners/owner.h"

namespace kelp::notification {

class ChannelCore;

/// A filter object. It has constraints in the extended trader constraint language, each for some
/// event types. An event passes if one of them matches. Without constraints nothing passes
/// (Notification Service 2.3.1).
class FilterServant final : public POA_CosNotifyFilter::Filter, public Owned, public EventTest {
  public:
    /// `onDestroy` is called once, when the filter ends. `owner` is the result of
    /// ChannelCore::ownerOfCaller().
    FilterServant(std::shared_ptr<ChannelCore> core, OwnerPtr owner,
                  std::function<void()> onDestroy);
    ~FilterServant() override;

    // -- Owned
    Kind ownedKind() const override { return Kind::Filter; }
    /// False while an admin or a proxy uses the filter.
    bool drop() override;

    // -- EventTest
    bool passes(const kelp::orb::EventView& event, Budget& budget) const override;
    std::shared_ptr<const void> use() const override { return use_; }
    std::vector<std::string> texts() const override;

    char* constraint_grammar() override;
    CosNotifyFilter::ConstraintInfoSeq* add_constraints(
        const CosNotifyFilter::ConstraintExpSeq& list) override;
    void modify_constraints(const CosNotifyFilter::ConstraintIDSeq& removed,
                            const CosNotifyFilter::ConstraintInfoSeq& changed) override;
    CosNotifyFilter::ConstraintInfoSeq* get_constraints(
        const CosNotifyFilter::ConstraintIDSeq& ids) override;
    CosNotifyFilter::ConstraintInfoSeq* get_all_constraints() override;
    void remove_all_constraints() override;
    void destroy() override;
    CORBA::Boolean match(const CORBA::Any& data) override;
    CORBA::Boolean match_structured(const CosNotification::StructuredEvent& event) override;
    CORBA::Boolean match_typed(const CosNotification::PropertySeq& data) override;
    /// Attach a callback. It is called when the event types of the constraints change, but not with
    /// the types at the moment of attaching. destroy() reports to it that no types are left. Throws
    /// BAD_PARAM for nil, and NO_RESOURCES if there are too many callbacks. A callback that fails
    /// is detached.
    CosNotifyFilter::CallbackID attach_callback(
        CosNotifyComm::NotifySubscribe_ptr callback) override;
    void detach_callback(CosNotifyFilter::CallbackID id) override;
    CosNotifyFilter::CallbackIDSeq* get_callbacks() override;

  private:
    struct Entry {
        CosNotifyFilter::ConstraintExp expression;
        std::shared_ptr<const Constraint> constraint;
        KeyedPlaces::Place place{};  ///< a place of the owner's constraints
    };
    using Entries = std::map<CosNotifyFilter::ConstraintID, Entry>;

    void change(std::shared_ptr<const Entries> entries) KELP_REQUIRES(mutex_);
    Entry compiled(const CosNotifyFilter::ConstraintExp& expression) const;
    std::shared_ptr<const Entries> current() const KELP_EXCLUDES(mutex_);

    const std::shared_ptr<ChannelCore> core_;
    const OwnerPtr owner_;
    const std::function<void()> onDestroy_;
    const std::shared_ptr<const void> use_ = std::make_shared<char>();
    const std::shared_ptr<FollowedTypes> types_;  ///< its lock is taken inside mutex_
    mutable util::Mutex mutex_{util::LockRank::ChannelPart, "FilterServant::mutex_"};
    std::shared_ptr<const Entries> entries_ KELP_GUARDED_BY(mutex_) =
        std::make_shared<const Entries>();
    CosNotifyFilter::ConstraintID lastId_ KELP_GUARDED_BY(mutex_) = 0;
    std::atomic<bool> destroyed_{false};
    mutable std::atomic<bool> toldOfCost_{false};
};

}  // namespace kelp::notification
