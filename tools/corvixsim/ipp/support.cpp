#include "ipp/support.h"

#include <algorithm>

namespace CorvixSim {
namespace {

/// Whether a "...-supported" value allows for the value: an equal one, or a range or highest number around
/// it.
bool Allows(const IppValue& supported, const IppValue& value, bool single) {
    if (supported.bytes == value.bytes) return true;
    const bool isNumber = value.tag == Ipp::Tag::Integer || value.tag == Ipp::Tag::Enum;
    if (!isNumber) return false;
    if (supported.tag == Ipp::Tag::RangeOfInteger) {
        const auto range = Ipp::Decode({supported.tag, supported.bytes}).range;
        return value.Number() >= range.lower && value.Number() <= range.upper;
    }
    return single && supported.tag == Ipp::Tag::Integer && value.Number() > 0 &&
           value.Number() <= supported.Number();
}

}  // namespace

bool IsSupported(const IppAttributeGroups& printer, const IppAttribute& attribute) {
    const IppAttribute* supported = FindAttribute(printer, attribute.name + "-supported");
    if (!supported) return false;
    const IppValue& first = supported->values.front();
    if (first.tag == Ipp::Tag::Boolean) return first.Number() != 0;
    return std::all_of(attribute.values.begin(), attribute.values.end(), [&](const IppValue& value) {
        if (value.tag == Ipp::Tag::BegCollection) return true;
        const bool single = supported->values.size() == 1;
        return std::any_of(supported->values.begin(), supported->values.end(),
                           [&](const IppValue& allowed) { return Allows(allowed, value, single); });
    });
}

const IppAttribute* FindAttribute(const IppAttributeGroups& groups, const std::string& name) {
    for (const auto& [group, attributes] : groups) {
        for (const IppAttribute& attribute : attributes) {
            if (attribute.name == name) return &attribute;
        }
    }
    return nullptr;
}

}  // namespace CorvixSim
