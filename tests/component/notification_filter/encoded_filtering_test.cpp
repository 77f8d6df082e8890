// What filters find in encoded events, compared with what they find in the same events decoded.

#include <gtest/gtest.h>
#include <kelp/orb/encoded_event.h>
#include <kelp/orb/event_view.h>

#include <limits>
#include <string>
#include <vector>

#include "filter/property_path.h"
#include "support/generated_events.h"
#include "support/orb_fixture.h"

namespace kelp::notification {
namespace {

using CosNotification::StructuredEvent;
using kelp::orb::EncodedEvent;
using kelp::test::GeneratedEvents;

PathStep stepTo(PathStep::Kind kind, const std::string& name, std::uint32_t at = 0) {
    return {kind, name, at};
}

/// Return a path that leads to something in many of the generated events.
PropertyPath somePath(GeneratedEvents& random) {
    using Kind = PathStep::Kind;
    const std::string name = GeneratedEvents::names()[random.below(8)];
    const auto at = static_cast<std::uint32_t>(random.below(5));
    PropertyPath path;
    switch (random.below(6)) {
        case 0:
            path = {stepTo(Kind::Member, "header"), stepTo(Kind::Member, "variable_header")};
            break;
        case 1:
        case 2:
            path = {stepTo(Kind::Member, "filterable_data")};
            break;
        case 3:
            path = {stepTo(Kind::Member, "remainder_of_body")};
            break;
        case 4:
            path = {stepTo(Kind::Member, random.below(2) == 0 ? "type_name" : "event_name")};
            return path;
        default:
            path = {stepTo(Kind::Member, name)};
            break;
    }
    for (std::size_t more = random.below(4); more > 0; --more) {
        const PathStep steps[] = {stepTo(Kind::Index, "", at),
                                  stepTo(Kind::Name, name),
                                  stepTo(Kind::Member, random.below(2) == 0 ? "name" : "value"),
                                  stepTo(Kind::Position, "", at % 2),
                                  stepTo(Kind::Length, ""),
                                  stepTo(Kind::TypeId, ""),
                                  stepTo(Kind::RepositoryId, "")};
        path.push_back(steps[random.below(std::size(steps))]);
    }
    return path;
}

std::string asText(const Result& result) {
    if (!result)
        return "nothing";
    if (const auto* flag = std::get_if<bool>(&*result))
        return *flag ? "true" : "false";
    if (const auto* integer = std::get_if<std::int64_t>(&*result))
        return "integer " + std::to_string(*integer);
    if (const auto* number = std::get_if<double>(&*result))
        return "number " + std::to_string(*number);
    if (const auto* enumerator = std::get_if<EnumValue>(&*result))
        return "enumerator " + enumerator->name + " " + std::to_string(enumerator->number);
    return "text " + std::get<std::string>(*result);
}

/// Everything that a filter can find out at the path, and its cost.
std::string found(const kelp::orb::EventView& event, const PropertyPath& path) {
    constexpr std::size_t steps = 1000;
    Budget budget(steps);
    const EventReader reader(event, budget);
    std::string text = asText(reader.value(path));
    text += reader.exists(path) ? ", exists, " : ", does not exist, ";
    text += asText(reader.hasDefaultLabel(path)) + ", ";
    text += asText(reader.contains(path, Value(std::int64_t{3})));
    std::size_t left = 0;
    while (budget.spend())
        ++left;
    return text + ", " + std::to_string(steps - left) + " steps";
}

std::vector<std::string> namesIn(const kelp::orb::EventProperties& properties) {
    std::vector<std::string> names;
    properties.forEach(
        [&](const kelp::orb::EventProperty& each) { names.emplace_back(each.name); });
    return names;
}

class EncodedFiltering : public testing::Test {
  protected:
    kelp::test::RunningOrb orb_;
    const CORBA::Object_var some_ = orb_.root()->create_reference("IDL:omg.org/CORBA/Object:1.0");
    GeneratedEvents events_{11, some_.in()};
};

TEST_F(EncodedFiltering, FindsTheSameAsInTheDecodedEvent) {
    int somewhere = 0;
    for (int i = 0; i < 300; ++i) {
        const StructuredEvent event = events_.next(i % 2 == 0 ? GeneratedEvents::Content::Plain
                                                              : GeneratedEvents::Content::Anything);
        const EncodedEvent encoded(event);
        ASSERT_GT(encoded.octets(), 0u) << "event " << i << " is kept decoded";
        for (int path = 0; path < 30; ++path) {
            const PropertyPath way = somePath(events_);
            if (!isPossible(way))
                continue;
            const std::string expected = found(event, way);
            ASSERT_EQ(found(encoded, way), expected) << "event " << i << ", path " << path;
            somewhere += expected.starts_with("nothing") ? 0 : 1;
        }
    }
    EXPECT_GT(somewhere, 1000);
}

TEST_F(EncodedFiltering, ListsTheSamePropertiesAsTheDecodedEvent) {
    for (int i = 0; i < 200; ++i) {
        const StructuredEvent event = events_.next();
        const EncodedEvent encoded(event);
        const kelp::orb::EventView ordinary(event);
        const kelp::orb::EventView indexed(encoded);
        EXPECT_STREQ(indexed.domainName(), ordinary.domainName());
        EXPECT_STREQ(indexed.typeName(), ordinary.typeName());
        EXPECT_STREQ(indexed.eventName(), ordinary.eventName());
        ASSERT_EQ(namesIn(indexed.variableHeader()), namesIn(ordinary.variableHeader()));
        ASSERT_EQ(namesIn(indexed.filterableData()), namesIn(ordinary.filterableData()));
        const CORBA::Any rest = indexed.remainderOfBody().decoded();
        const CORBA::TypeCode_var type = rest.type();
        const CORBA::TypeCode_var expected = event.remainder_of_body.type();
        EXPECT_TRUE(type->equal(expected.in()));
    }
}

TEST_F(EncodedFiltering, FindsPropertiesWithLongValuesBetweenThem) {
    StructuredEvent event;
    event.filterable_data.length(300);
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i) {
        event.filterable_data[i].name = CORBA::string_dup(std::to_string(i).c_str());
        event.filterable_data[i].value <<= std::string(i * i % 70000, 'x').c_str();
    }
    const EncodedEvent encoded(event);
    const kelp::orb::EventProperties properties = kelp::orb::EventView(encoded).filterableData();
    ASSERT_EQ(properties.size(), 300u);
    for (const CORBA::ULong i : {0u, 1u, 31u, 264u, 299u}) {
        const auto value = properties.find(std::to_string(i).c_str());
        ASSERT_TRUE(value);
        const CORBA::Any any = value->decoded();
        const char* text = nullptr;
        ASSERT_TRUE(any >>= text);
        EXPECT_EQ(std::string(text).size(), i * i % 70000);
        EXPECT_EQ(properties.at(i).name, std::to_string(i));
    }
}

TEST_F(EncodedFiltering, WorksForAnEventThatCannotBeIndexed) {
    StructuredEvent event = events_.next();
    event.header.fixed_header.event_name = CORBA::string_dup("Gerät");
    const EncodedEvent kept(event);
    EXPECT_EQ(kept.octets(), 0u);
    EXPECT_STREQ(kelp::orb::EventView(kept).eventName(), "Gerät");
    EXPECT_EQ(namesIn(kelp::orb::EventView(kept).filterableData()),
              namesIn(kelp::orb::EventView(event).filterableData()));
}

}  // namespace
}  // namespace kelp::notification
