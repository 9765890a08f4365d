#include "cupstext.h"

#include <algorithm>
#include <vector>

namespace Corvix::Testing {
namespace {

using Texts = std::map<std::string, std::vector<std::string>>;

std::string ResolutionText(ipp_attribute_t* attribute, int index) {
    int feed = 0;
    ipp_res_t units = IPP_RES_PER_INCH;
    const int crossFeed = ippGetResolution(attribute, index, &feed, &units);
    std::string text = std::to_string(crossFeed);
    if (feed != crossFeed) text += "x" + std::to_string(feed);
    return text + (units == IPP_RES_PER_INCH ? "dpi" : units == IPP_RES_PER_CM ? "dpcm" : "");
}

std::string RangeText(ipp_attribute_t* attribute, int index) {
    int upper = 0;
    const int lower = ippGetRange(attribute, index, &upper);
    return std::to_string(lower) + "-" + std::to_string(upper);
}

std::string OctetText(ipp_attribute_t* attribute, int index) {
    int length = 0;
    const auto* bytes = static_cast<const char*>(ippGetOctetString(attribute, index, &length));
    std::string text(bytes, static_cast<std::size_t>(length));
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '=' || c == ';'; }, ',');
    return text;
}

std::string SimpleText(ipp_attribute_t* attribute, int index) {
    switch (ippGetValueTag(attribute)) {
        case IPP_TAG_INTEGER:
        case IPP_TAG_ENUM:
            return std::to_string(ippGetInteger(attribute, index));
        case IPP_TAG_BOOLEAN:
            return ippGetBoolean(attribute, index) ? "1" : "0";
        case IPP_TAG_RANGE:
            return RangeText(attribute, index);
        case IPP_TAG_RESOLUTION:
            return ResolutionText(attribute, index);
        case IPP_TAG_STRING:
            return OctetText(attribute, index);
        default:
            return ippGetString(attribute, index, nullptr);
    }
}

bool IsKept(ipp_attribute_t* attribute) {
    const ipp_tag_t tag = ippGetValueTag(attribute);
    return tag >= IPP_TAG_INTEGER && tag != IPP_TAG_DATE && tag != IPP_TAG_TEXTLANG &&
           tag != IPP_TAG_NAMELANG;
}

/// Adds a text to every name on the way to it: a collection reads as all that it holds.
void Add(Texts& texts, const std::vector<std::string>& names, const std::string& text) {
    for (const std::string& name : names)
        texts[name].push_back(text);
}

void Collect(ipp_attribute_t* attribute, std::vector<std::string> names, Texts& texts) {
    if (!IsKept(attribute)) return;
    names.push_back(names.empty() ? ippGetName(attribute) : names.back() + "." + ippGetName(attribute));
    for (const std::string& name : names)
        texts[name];
    for (int i = 0; i < ippGetCount(attribute); ++i) {
        if (ippGetValueTag(attribute) != IPP_TAG_BEGIN_COLLECTION) {
            Add(texts, names, SimpleText(attribute, i));
            continue;
        }
        ipp_t* members = ippGetCollection(attribute, i);
        for (ipp_attribute_t* m = ippFirstAttribute(members); m; m = ippNextAttribute(members))
            Collect(m, names, texts);
    }
}

std::string Join(const std::vector<std::string>& values) {
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i)
        text += (i > 0 ? "," : "") + values[i];
    text.erase(text.find_last_not_of(',') + 1);
    return text;
}

}  // namespace

std::map<std::string, std::string> ExpectedTexts(ipp_attribute_t* attribute) {
    Texts texts;
    Collect(attribute, {}, texts);
    std::map<std::string, std::string> joined;
    for (const auto& [name, values] : texts)
        joined[name] = Join(values);
    return joined;
}

}  // namespace Corvix::Testing
