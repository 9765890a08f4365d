/// Reading elements of an XML document: the one place that knows how attributes become fields.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datamodel/dom/dom.h"
#include "utilslib/com.h"

namespace Corvix {

/// One element with its attributes, which are fetched from the DOM in a single pass: asking the DOM for each
/// attribute by its name costs nearly twice as much, and most of the attributes asked for are not there.
class DomElement {
public:
    /// An element whose attributes cannot be had counts as one without any; null too.
    explicit DomElement(IXMLDOMNode* node);

    /// The element itself; lives as long as its document.
    IXMLDOMNode* Node() const { return node_; }
    /// The attribute's text; nothing when the element has no such attribute or it cannot be read.
    std::optional<std::wstring_view> Find(std::wstring_view name) const;

private:
    struct Attribute {
        KyUtils::Bstr name;
        KyUtils::Variant value;
    };
    void Take(IXMLDOMNode* attribute);

    IXMLDOMNode* node_;
    std::vector<Attribute> attributes_;
};

/// A copy of the attribute's text; nothing at all, rather than an empty text, when there is no such
/// attribute.
std::optional<std::wstring> TextValueOf(const DomElement& element, std::wstring_view name);
/// True exactly for "true" in whatever case.
bool BoolValueOf(const DomElement& element, std::wstring_view name);
/// The leading decimal digits; 0 without any, the greatest value for numbers beyond it.
unsigned long UlongValueOf(const DomElement& element, std::wstring_view name);
/// The same with an optional sign before the digits.
int IntValueOf(const DomElement& element, std::wstring_view name);

/// The node name of an element, "#comment" and the like for other nodes, null for what has none.
KyUtils::Bstr NodeNameOf(IXMLDOMNode* node);
bool ElementNameIs(IXMLDOMNode* node, std::wstring_view name);

/// The whole text inside a node, nested elements included; nothing when it cannot be read.
std::optional<std::wstring> TextContentOf(IXMLDOMNode* node);

/// Calls `visit(IXMLDOMNode*)` for every child node in document order.
template <class Visit>
void ForEachChild(IXMLDOMNode* parent, Visit visit) {
    if (!parent) return;
    ComPtr<IXMLDOMNode> child;
    // From sibling to sibling, since the positions of a node list are counted from its start each time.
    parent->get_firstChild(&child);
    while (child) {
        visit(child.Get());
        ComPtr<IXMLDOMNode> next;
        child->get_nextSibling(&next);
        child.Swap(next);
    }
}

}  // namespace Corvix
