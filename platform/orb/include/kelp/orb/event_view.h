#pragma once

#include <kelp/orb/encoded_event.h>

#include <cstdint>
#include <optional>

namespace kelp::orb {

/// A value in an event. Valid as long as the event.
class KELP_EXPORT EventValue {
  public:
    /// Return what `use` returns for the value, which it may borrow during the call. A value of an
    /// encoded event is decoded for it.
    template <class Use>
    auto with(Use use) const {
        return any_ != nullptr ? use(*any_) : use(static_cast<const CORBA::Any&>(decoded()));
    }
    CORBA::Any decoded() const;

  private:
    friend class EventProperties;
    friend class EventView;
    explicit EventValue(const CORBA::Any& any) : any_(&any) {}
    EventValue(const EncodedEvent& event, std::uint32_t at) : event_(&event), at_(at) {}

    const CORBA::Any* any_ = nullptr;
    const EncodedEvent* event_ = nullptr;
    std::uint32_t at_ = 0;
};

/// A property in an event. Valid as long as the event.
struct EventProperty {
    const char* name;
    EventValue value;
};

/// The properties in one of an event's two lists. Valid as long as the event.
class KELP_EXPORT EventProperties {
  public:
    std::uint32_t size() const { return size_; }
    /// Return the property at a place below size().
    EventProperty at(std::uint32_t place) const;
    /// Return the value of the first property with this name.
    std::optional<EventValue> find(const char* name) const;
    /// Call `use` with each property, in order.
    template <class Use>
    void forEach(Use use) const {
        Step step = first();
        for (std::uint32_t i = 0; i < size_; ++i, advance(step))
            use(propertyAt(step));
    }

  private:
    friend class EventView;
    /// Where a property is: its place in the list, or its offset and its place in the index.
    struct Step {
        std::uint32_t at;
        std::uint32_t index;
    };

    explicit EventProperties(const CosNotification::PropertySeq& list)
        : list_(&list), size_(list.length()) {}
    /// The first of `size` properties of `event` begins at `first`.
    EventProperties(const EncodedEvent& event, std::uint32_t size, Step first)
        : event_(&event), size_(size), first_(first) {}

    Step first() const { return first_; }
    void advance(Step& step) const;
    EventProperty propertyAt(const Step& step) const;

    const CosNotification::PropertySeq* list_ = nullptr;
    const EncodedEvent* event_ = nullptr;
    std::uint32_t size_;
    Step first_{0, 0};
};

/// Reads an event, encoded or not, part by part. Borrows the event. Copies are cheap.
class KELP_EXPORT EventView {
  public:
    EventView(const CosNotification::StructuredEvent& event)  // NOLINT: an event is its view
        : whole_(&event) {}
    EventView(const EncodedEvent& event)  // NOLINT: an event is its view
        : whole_(event.whole_.get()), encoded_(&event) {}

    const char* domainName() const;
    const char* typeName() const;
    const char* eventName() const;
    EventProperties variableHeader() const;
    EventProperties filterableData() const;
    EventValue remainderOfBody() const;

  private:
    struct Parts;
    Parts parts() const;

    const CosNotification::StructuredEvent* whole_;  ///< null: only encoded
    const EncodedEvent* encoded_ = nullptr;
};

}  // namespace kelp::orb
