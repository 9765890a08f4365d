#include "datamodel/dom/domreader.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

constexpr size_t usualAttributeCount = 8;

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

/// The number that the text begins with, at most `limit`.
std::uint64_t LeadingDigits(std::wstring_view text, std::uint64_t limit) {
    std::uint64_t number = 0;
    for (const wchar_t c : text) {
        if (!IsDigit(c)) break;
        number = std::min<std::uint64_t>(number * 10 + static_cast<std::uint64_t>(c - L'0'), limit);
    }
    return number;
}

std::wstring_view ViewOf(const DomElement& element, std::wstring_view name) {
    return element.Find(name).value_or(std::wstring_view());
}

}  // namespace

DomElement::DomElement(IXMLDOMNode* node) : node_(node) {
    // A missing node reads like an element without attributes, so that callers need no special case.
    if (!node) return;
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    node->get_attributes(&attributes);
    if (!attributes) return;
    attributes_.reserve(usualAttributeCount);
    ComPtr<IXMLDOMNode> attribute;
    while (attributes->nextNode(&attribute) == S_OK && attribute) {
        Take(attribute.Get());
        attribute.Reset();
    }
}

void DomElement::Take(IXMLDOMNode* attribute) {
    Attribute taken;
    if (FAILED(attribute->get_nodeName(taken.name.Receive()))) return;
    // The value of an attribute node is its text, and the DOM finds it faster than the text of any node.
    if (FAILED(attribute->get_nodeValue(taken.value.Receive()))) return;
    attributes_.push_back(std::move(taken));
}

std::optional<std::wstring_view> DomElement::Find(std::wstring_view name) const {
    const auto found =
        std::find_if(attributes_.begin(), attributes_.end(),
                     [name](const Attribute& candidate) { return candidate.name.View() == name; });
    if (found == attributes_.end()) return std::nullopt;
    return found->value.Text();
}

std::optional<std::wstring> TextValueOf(const DomElement& element, std::wstring_view name) {
    const auto text = element.Find(name);
    if (!text) return std::nullopt;
    return std::wstring(*text);
}

bool BoolValueOf(const DomElement& element, std::wstring_view name) {
    return KyUtils::EqualsIgnoringCase(ViewOf(element, name), L"true");
}

unsigned long UlongValueOf(const DomElement& element, std::wstring_view name) {
    constexpr std::uint64_t greatest = std::numeric_limits<std::uint32_t>::max();
    return static_cast<unsigned long>(LeadingDigits(ViewOf(element, name), greatest));
}

int IntValueOf(const DomElement& element, std::wstring_view name) {
    constexpr std::int64_t greatest = std::numeric_limits<int>::max();
    std::wstring_view text = ViewOf(element, name);
    const bool negative = !text.empty() && text.front() == L'-';
    if (negative || (!text.empty() && text.front() == L'+')) text.remove_prefix(1);
    const std::int64_t limit = negative ? greatest + 1 : greatest;
    const auto number = static_cast<std::int64_t>(LeadingDigits(text, static_cast<std::uint64_t>(limit)));
    return static_cast<int>(negative ? -number : number);
}

KyUtils::Bstr NodeNameOf(IXMLDOMNode* node) {
    KyUtils::Bstr name;
    if (node) node->get_nodeName(name.Receive());
    return name;
}

bool ElementNameIs(IXMLDOMNode* node, std::wstring_view name) { return NodeNameOf(node).View() == name; }

std::optional<std::wstring> TextContentOf(IXMLDOMNode* node) {
    KyUtils::Bstr text;
    if (!node || FAILED(node->get_text(text.Receive()))) return std::nullopt;
    return std::wstring(text.View());
}

}  // namespace Corvix
