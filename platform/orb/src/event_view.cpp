#include <kelp/orb/event_view.h>

#include <cstring>

namespace kelp::orb {

namespace {

constexpr std::uint32_t kUnit = 4;

std::uint32_t aligned(std::uint32_t at) {
    return (at + kUnit - 1) / kUnit * kUnit;
}

std::uint32_t numberAt(const std::uint8_t* octets, std::uint32_t at) {
    std::uint32_t number = 0;
    std::memcpy(&number, octets + at, sizeof number);
    return number;
}

/// A text in the octets begins with its length.
const char* textAt(const std::uint8_t* octets, std::uint32_t at) {
    return reinterpret_cast<const char*>(octets + at + kUnit);
}

std::uint32_t afterText(const std::uint8_t* octets, std::uint32_t at) {
    return aligned(at + kUnit + numberAt(octets, at));
}

/// Read the distance to the next part from the index, and move on in the index.
std::uint32_t nextDistance(const std::uint8_t* octets, std::uint32_t& index) {
    constexpr std::uint32_t more = 0x80;
    constexpr unsigned bits = 7;
    std::uint32_t distance = 0;
    for (unsigned shift = 0;; shift += bits) {
        const std::uint32_t part = octets[index++];
        distance |= (part % more) << shift;
        if (part < more)
            return distance * kUnit;
    }
}

}  // namespace

CORBA::Any EventValue::decoded() const {
    return any_ != nullptr ? *any_ : event_->anyAt(at_);
}

void EventProperties::advance(Step& step) const {
    if (list_ != nullptr)
        ++step.at;
    else
        step.at += nextDistance(event_->octets_.get(), step.index);
}

EventProperty EventProperties::propertyAt(const Step& step) const {
    if (list_ != nullptr)
        return {(*list_)[step.at].name.in(), EventValue((*list_)[step.at].value)};
    const std::uint8_t* octets = event_->octets_.get();
    return {textAt(octets, step.at), EventValue(*event_, afterText(octets, step.at))};
}

EventProperty EventProperties::at(std::uint32_t place) const {
    Step step = first();
    if (list_ != nullptr)
        step.at = place;
    else
        for (std::uint32_t i = 0; i < place; ++i)
            advance(step);
    return propertyAt(step);
}

std::optional<EventValue> EventProperties::find(const char* name) const {
    Step step = first();
    for (std::uint32_t i = 0; i < size_; ++i, advance(step)) {
        const EventProperty property = propertyAt(step);
        if (std::strcmp(property.name, name) == 0)
            return property.value;
    }
    return std::nullopt;
}

/// Where the parts of an encoded event are.
struct EventView::Parts {
    std::uint32_t typeName;
    std::uint32_t eventName;
    std::uint32_t header;  ///< the length of the variable header
    std::uint32_t index;   ///< of the distance to the first property, which is 0
};

EventView::Parts EventView::parts() const {
    const std::uint8_t* octets = encoded_->octets_.get();
    Parts parts{};
    parts.typeName = afterText(octets, 0);
    parts.eventName = afterText(octets, parts.typeName);
    parts.header = afterText(octets, parts.eventName);
    parts.index = encoded_->size_;
    return parts;
}

const char* EventView::domainName() const {
    return whole_ != nullptr ? whole_->header.fixed_header.event_type.domain_name.in()
                             : textAt(encoded_->octets_.get(), 0);
}

const char* EventView::typeName() const {
    return whole_ != nullptr ? whole_->header.fixed_header.event_type.type_name.in()
                             : textAt(encoded_->octets_.get(), parts().typeName);
}

const char* EventView::eventName() const {
    return whole_ != nullptr ? whole_->header.fixed_header.event_name.in()
                             : textAt(encoded_->octets_.get(), parts().eventName);
}

EventProperties EventView::variableHeader() const {
    if (whole_ != nullptr)
        return EventProperties(whole_->header.variable_header);
    const std::uint8_t* octets = encoded_->octets_.get();
    const Parts found = parts();
    EventProperties::Step first{found.header + kUnit, found.index};
    first.at += nextDistance(octets, first.index);
    return EventProperties(*encoded_, numberAt(octets, found.header), first);
}

EventProperties EventView::filterableData() const {
    if (whole_ != nullptr)
        return EventProperties(whole_->filterable_data);
    const std::uint8_t* octets = encoded_->octets_.get();
    const EventProperties header = variableHeader();
    EventProperties::Step step = header.first();
    for (std::uint32_t i = 0; i < header.size(); ++i)
        header.advance(step);
    // now at the length of the list
    const std::uint32_t size = numberAt(octets, step.at);
    step.at += nextDistance(octets, step.index);
    return EventProperties(*encoded_, size, step);
}

EventValue EventView::remainderOfBody() const {
    if (whole_ != nullptr)
        return EventValue(whole_->remainder_of_body);
    const EventProperties body = filterableData();
    EventProperties::Step step = body.first();
    for (std::uint32_t i = 0; i < body.size(); ++i)
        body.advance(step);
    return EventValue(*encoded_, step.at);
}

}  // namespace kelp::orb
