#include "datamodel/snmp/oidwalk.h"

#include <utility>

#include "datamodel/snmp/oidtext.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// Characters of the buffer for the next OID, which grows with the walk as names do: devices see its size.
constexpr size_t firstMargin = 5;
constexpr size_t growthPerObject = 4;
constexpr size_t growthPerRetry = 2;
constexpr int maxRetries = 5;

}  // namespace

OidWalk::OidWalk(OIDProvider& provider, std::wstring_view start)
    : provider_(provider), current_(start), next_(start.size() + firstMargin, L'\0') {}

void OidWalk::StayBelow(std::wstring_view root) {
    root_ = root;
    bounded_ = true;
}

HRESULT OidWalk::AskForNext(KyUtils::Variant& value) {
    for (int retries = 0;; ++retries) {
        const HRESULT result = provider_.GetNextOidAndValue(
            current_.c_str(), next_.data(), static_cast<unsigned>(next_.size()), value.Receive());
        // A name that outgrows every retry ends the walk: the device may go on for ever.
        if (result != E_OUTOFMEMORY || retries == maxRetries) return result;
        next_.resize(next_.size() + growthPerRetry);
    }
}

bool OidWalk::MayContinueAt(std::wstring_view next) const {
    // A walk of a fixed count may leave the subtree, as its maps expect.
    if (!bounded_) return true;
    if (CompareOids(current_, next) >= 0) {
        logSource.Warning(L"After %ls the device answers with %ls: the walk ends", current_.c_str(),
                          std::wstring(next).c_str());
        return false;
    }
    return IsBelowOid(root_, next);
}

HRESULT OidWalk::Next(KyUtils::Variant& value) {
    KyUtils::Variant read;
    const HRESULT result = AskForNext(read);
    if (FAILED(result)) return result;
    // A connection that fills the buffer may leave out the terminating zero.
    const std::wstring_view next = std::wstring_view(next_).substr(0, next_.find(L'\0'));
    if (!MayContinueAt(next)) return S_FALSE;
    current_ = next;
    next_.resize(next_.size() + growthPerObject);
    value = std::move(read);
    return S_OK;
}

}  // namespace Corvix
