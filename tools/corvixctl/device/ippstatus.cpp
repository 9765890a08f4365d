#include "device/ippstatus.h"

#include "base/text.h"

namespace CorvixCtl {
namespace {

struct StatusName {
    unsigned status;
    const wchar_t* name;
};

constexpr StatusName statusNames[] = {
    {0x0000, L"successful-ok"},
    {0x0001, L"successful-ok-ignored-or-substituted-attributes"},
    {0x0002, L"successful-ok-conflicting-attributes"},
    {0x0400, L"client-error-bad-request"},
    {0x0401, L"client-error-forbidden"},
    {0x0402, L"client-error-not-authenticated"},
    {0x0403, L"client-error-not-authorized"},
    {0x0404, L"client-error-not-possible"},
    {0x0405, L"client-error-timeout"},
    {0x0406, L"client-error-not-found"},
    {0x0407, L"client-error-gone"},
    {0x0408, L"client-error-request-entity-too-large"},
    {0x0409, L"client-error-request-value-too-long"},
    {0x040A, L"client-error-document-format-not-supported"},
    {0x040B, L"client-error-attributes-or-values-not-supported"},
    {0x040C, L"client-error-uri-scheme-not-supported"},
    {0x040D, L"client-error-charset-not-supported"},
    {0x040E, L"client-error-conflicting-attributes"},
    {0x040F, L"client-error-compression-not-supported"},
    {0x0410, L"client-error-compression-error"},
    {0x0411, L"client-error-document-format-error"},
    {0x0412, L"client-error-document-access-error"},
    {0x0500, L"server-error-internal-error"},
    {0x0501, L"server-error-operation-not-supported"},
    {0x0502, L"server-error-service-unavailable"},
    {0x0503, L"server-error-version-not-supported"},
    {0x0504, L"server-error-device-error"},
    {0x0505, L"server-error-temporary-error"},
    {0x0506, L"server-error-not-accepting-jobs"},
    {0x0507, L"server-error-busy"},
    {0x0508, L"server-error-job-canceled"},
    {0x0509, L"server-error-multiple-document-jobs-not-supported"},
};

std::wstring Number(unsigned status) { return Formatted(L"0x%04X", status); }

}  // namespace

std::wstring IppStatusText(unsigned status) {
    for (const StatusName& known : statusNames) {
        if (known.status == status) return std::wstring(known.name) + L" (" + Number(status) + L")";
    }
    return Number(status);
}

}  // namespace CorvixCtl
