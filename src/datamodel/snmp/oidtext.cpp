#include "datamodel/snmp/oidtext.h"

#include <algorithm>

namespace Corvix {
namespace {

constexpr wchar_t separator = L'.';

std::wstring_view TakeArc(std::wstring_view& oid) {
    const size_t length = std::min(oid.find(separator), oid.size());
    const std::wstring_view arc = oid.substr(0, length);
    oid.remove_prefix(std::min(length + 1, oid.size()));
    return arc;
}

std::wstring_view WithoutLeadingZeros(std::wstring_view digits) {
    const size_t first = digits.find_first_not_of(L'0');
    return first == std::wstring_view::npos ? std::wstring_view() : digits.substr(first);
}

int CompareArcs(std::wstring_view left, std::wstring_view right) {
    // As texts, because arcs of hostile devices have any number of digits: the longer number is the greater.
    left = WithoutLeadingZeros(left);
    right = WithoutLeadingZeros(right);
    if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
    return left.compare(right);
}

std::wstring_view WithoutLeadingDot(std::wstring_view oid) {
    if (!oid.empty() && oid.front() == separator) oid.remove_prefix(1);
    return oid;
}

}  // namespace

int CompareOids(std::wstring_view left, std::wstring_view right) {
    left = WithoutLeadingDot(left);
    right = WithoutLeadingDot(right);
    while (!left.empty() && !right.empty()) {
        const int order = CompareArcs(TakeArc(left), TakeArc(right));
        if (order != 0) return order;
    }
    return static_cast<int>(!left.empty()) - static_cast<int>(!right.empty());
}

bool IsBelowOid(std::wstring_view root, std::wstring_view oid) {
    root = WithoutLeadingDot(root);
    oid = WithoutLeadingDot(oid);
    while (!root.empty() && !oid.empty()) {
        if (CompareArcs(TakeArc(root), TakeArc(oid)) != 0) return false;
    }
    return root.empty() && !oid.empty();
}

std::wstring_view ParentOid(std::wstring_view oid) {
    const size_t last = oid.rfind(separator);
    return last == std::wstring_view::npos ? std::wstring_view() : oid.substr(0, last);
}

}  // namespace Corvix
