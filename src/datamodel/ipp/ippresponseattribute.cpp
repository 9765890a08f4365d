#include "datamodel/ipp/ippresponseattribute.h"

#include "corvixdm/disposableptr.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

IPPResponseBase::IPPResponseBase() = default;
IPPResponseBase::IPPResponseBase(const IPPResponseBase&) : IDisposable() {}
IPPResponseBase& IPPResponseBase::operator=(const IPPResponseBase&) { return *this; }
IPPResponseBase::~IPPResponseBase() = default;

IPPResponseAttributes* IPPResponseAttributes::Create() {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPResponseAttributes::Create");
    return KyUtils::RaisingComErrors(
        [] { return DisposablePtr<IPPResponseAttributes>::Share(new IPPResponseAttributes()).Release(); });
}

}  // namespace Corvix
