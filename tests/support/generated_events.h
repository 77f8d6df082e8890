#pragma once

#include <cos/CosNotification.h>
#include <mtnm/globaldefs.h>
#include <mtnm/notifications.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>

namespace kelp::test {

/// Makes structured events with values of all kinds. The same seed makes the same events.
class GeneratedEvents {
  public:
    /// Some events contain `reference`.
    GeneratedEvents(unsigned seed, CORBA::Object_ptr reference)
        : random_(seed), reference_(CORBA::Object::_duplicate(reference)) {}

    /// The names that properties can have.
    static const std::array<const char*, 8>& names() {
        static const std::array<const char*, 8> all{"a",        "name",     "Priority", "Timeout",
                                                    "StopTime", "severity", "object",   "list"};
        return all;
    }

    enum class Content {
        Plain,  ///< no object references, TypeCodes, fixed numbers and bounded or wide texts; ASCII
        Latin,  ///< no wide texts, and only characters of ISO 8859-1
        Anything
    };
    CosNotification::StructuredEvent next(Content content = Content::Anything) {
        content_ = content;
        CosNotification::StructuredEvent event;
        CosNotification::FixedEventHeader& fixed = event.header.fixed_header;
        fixed.event_type.domain_name = CORBA::string_dup(shortText().c_str());
        fixed.event_type.type_name = CORBA::string_dup(shortText().c_str());
        fixed.event_name = CORBA::string_dup(shortText().c_str());
        fill(event.header.variable_header, 3);
        fill(event.filterable_data, 8);
        event.remainder_of_body = value(0);
        return event;
    }

    std::size_t below(std::size_t limit) { return random_() % limit; }

  private:
    std::string shortText() { return std::string(below(9), static_cast<char>('a' + below(26))); }
    std::string text() {
        switch (below(content_ == Content::Plain ? 3 : 4)) {
            case 0:
                return {};
            case 1:
                return shortText();
            case 2:
                return std::string(below(600), 't');
            default:
                return content_ == Content::Latin ? "Gerät gestört"
                                                  : "Gerät – gestört " + shortText();
        }
    }
    void fill(CosNotification::PropertySeq& properties, std::size_t most) {
        properties.length(static_cast<CORBA::ULong>(below(most + 1)));
        for (CORBA::ULong i = 0; i < properties.length(); ++i) {
            properties[i].name = CORBA::string_dup(names()[below(names().size())]);
            properties[i].value = value(0);
        }
    }
    CORBA::Any value(int depth) {
        constexpr std::size_t plainKinds = 24;
        const std::size_t moreKinds = content_ == Content::Plain   ? 0
                                      : content_ == Content::Latin ? 5
                                                                   : 6;
        const std::size_t kind = below(plainKinds + moreKinds);
        CORBA::Any any;
        if (kind < 12)
            any = number(kind);
        else if (kind < 24)
            any = constructed(kind, depth);
        else
            any = rare(kind);
        return any;
    }
    CORBA::Any number(std::size_t kind) {
        CORBA::Any any;
        switch (kind) {
            case 0:
                any <<= static_cast<CORBA::Short>(random_());
                break;
            case 1:
                any <<= static_cast<CORBA::UShort>(random_());
                break;
            case 2:
                any <<= static_cast<CORBA::Long>(below(5));
                break;
            case 3:
                any <<= static_cast<CORBA::ULong>(random_());
                break;
            case 4:
                any <<= static_cast<CORBA::LongLong>(random_()) << below(33);
                break;
            case 5:
                any <<= static_cast<CORBA::ULongLong>(random_()) << below(33);
                break;
            case 6:
                any <<= static_cast<CORBA::Float>(below(1000)) / 7;
                break;
            case 7:
                any <<= static_cast<CORBA::Double>(below(1000)) / 7;
                break;
            case 8:
                any <<= CORBA::Any::from_boolean(below(2) == 0);
                break;
            case 9:
                any <<= CORBA::Any::from_char(static_cast<CORBA::Char>('a' + below(26)));
                break;
            case 10:
                any <<= CORBA::Any::from_octet(static_cast<CORBA::Octet>(random_()));
                break;
            default:
                any <<= notifications::PS_MAJOR;
                break;
        }
        return any;
    }
    CORBA::Any constructed(std::size_t kind, int depth) {
        constexpr int depthMax = 3;
        CORBA::Any any;
        switch (kind) {
            case 12:
            case 13:
                any <<= namesAndValues(below(4));
                break;
            case 14: {
                CosNotification::PropertySeq list;
                if (depth < depthMax) {
                    list.length(static_cast<CORBA::ULong>(below(3)));
                    for (CORBA::ULong i = 0; i < list.length(); ++i) {
                        list[i].name = CORBA::string_dup(shortText().c_str());
                        list[i].value = value(depth + 1);
                    }
                }
                any <<= list;
                break;
            }
            case 15:
                if (depth < depthMax)
                    any <<= value(depth + 1);
                break;
            case 16: {
                CORBA::OctetSeq list;
                list.length(static_cast<CORBA::ULong>(below(20)));
                for (CORBA::ULong i = 0; i < list.length(); ++i)
                    list[i] = static_cast<CORBA::Octet>(random_());
                any <<= list;
                break;
            }
            case 17: {
                CORBA::DoubleSeq list;
                list.length(static_cast<CORBA::ULong>(below(4)));
                for (CORBA::ULong i = 0; i < list.length(); ++i)
                    list[i] = static_cast<CORBA::Double>(below(100));
                any <<= list;
                break;
            }
            case 18: {
                CosNotification::EventType type;
                type.domain_name = CORBA::string_dup(text().c_str());
                type.type_name = CORBA::string_dup(text().c_str());
                any <<= type;
                break;
            }
            case 19: {
                CORBA::BooleanSeq list;
                list.length(static_cast<CORBA::ULong>(below(4)));
                for (CORBA::ULong i = 0; i < list.length(); ++i)
                    list[i] = below(2) == 0;
                any <<= list;
                break;
            }
            case 20:
                break;  // null
            case 21: {
                notifications::AlarmOrTCAIdentifier_T choice;
                notifications::AlarmId_T id;
                id.objectName = namesAndValues(below(3));
                id.layerRate = static_cast<CORBA::Short>(below(9));
                id.probableCause = CORBA::string_dup(shortText().c_str());
                id.probableCauseQualifier = CORBA::string_dup("");
                choice.alarmId(id);
                any <<= choice;
                break;
            }
            case 22: {
                CORBA::StringSeq words;
                words.length(static_cast<CORBA::ULong>(below(4)));
                for (CORBA::ULong i = 0; i < words.length(); ++i)
                    words[i] = CORBA::string_dup(text().c_str());
                any <<= words;
                break;
            }
            default:
                any <<= text().c_str();
                break;
        }
        return any;
    }
    CORBA::Any rare(std::size_t kind) {
        CORBA::Any any;
        switch (kind) {
            case 24:
                any <<= CosNotification::_tc_StructuredEvent;
                break;
            case 25:
                any <<= reference_.in();
                break;
            case 26:
                any <<= CORBA::_tc_long;
                break;
            case 27:
                any <<= CORBA::Any::from_fixed(CORBA::Fixed("12.5"), 5, 2);
                break;
            case 28:
                any <<= CORBA::Any::from_string(CORBA::string_dup(shortText().c_str()), 20, true);
                break;
            default:
                any <<= CORBA::Any::from_wstring(CORBA::wstring_dup(L"breit"), 0, true);
                break;
        }
        return any;
    }
    globaldefs::NamingAttributes_T namesAndValues(std::size_t count) {
        globaldefs::NamingAttributes_T list;
        list.length(static_cast<CORBA::ULong>(count));
        for (CORBA::ULong i = 0; i < list.length(); ++i) {
            list[i].name = CORBA::string_dup(shortText().c_str());
            list[i].value = CORBA::string_dup(text().c_str());
        }
        return list;
    }

    std::mt19937 random_;
    const CORBA::Object_var reference_;
    Content content_ = Content::Anything;
};

}  // namespace kelp::test
