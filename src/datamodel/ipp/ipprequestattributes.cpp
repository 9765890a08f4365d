#include "datamodel/ipp/ipprequestattributes.h"

#include <string_view>

#include "corvixdm/disposableptr.h"
#include "utilslib/logging.h"
#include "wire/ipp/encodedattributes.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

std::string_view AsText(const unsigned char* bytes, int size) {
    return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)};
}

}  // namespace

IPPRequestBase::IPPRequestBase() = default;
IPPRequestBase::IPPRequestBase(const IPPRequestBase&) : IDisposable() {}
IPPRequestBase& IPPRequestBase::operator=(const IPPRequestBase&) { return *this; }
IPPRequestBase::~IPPRequestBase() = default;

IPPRequestAttributes* IPPRequestAttributes::Create() {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPRequestAttributes::Create");
    return KyUtils::RaisingComErrors(
        [] { return DisposablePtr<IPPRequestAttributes>::Share(new IPPRequestAttributes()).Release(); });
}

void IPPRequestAttributes::SetPrinterResolution(unsigned crossFeed, unsigned feed) {
    crossFeedResolution_ = crossFeed;
    feedResolution_ = feed;
}

void IPPRequestAttributes::GetPrinterResolution(unsigned* crossFeed, unsigned* feed) const {
    if (crossFeed) *crossFeed = crossFeedResolution_;
    if (feed) *feed = feedResolution_;
}

void IPPRequestAttributes::AddExtraHTTPHeader(const wchar_t* name, const wchar_t* value) {
    if (!name) return;
    KyUtils::RaisingComErrors([&] { extraHeaders_.emplace_back(name, value ? value : L""); });
}

HRESULT IPPRequestAttributes::AddIPPRequest(unsigned type, const unsigned char* bytes, int size) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPRequestAttributes::AddIPPRequest");
    if (!bytes || size < 1) {
        logSource.Error(L"Invalid input parameters.. attributeblobSize=%d", size);
        return E_FAIL;
    }
    try {
        std::vector<std::string> names = attributeNames_;
        for (const std::string_view name : Ipp::NamesOfAttributes(AsText(bytes, size)))
            names.emplace_back(name);
        blobs_.push_back({type, std::vector<unsigned char>(bytes, bytes + size)});
        attributeNames_.swap(names);
    } catch (const std::bad_alloc&) {
        logSource.Error(L"Unable to allocate memory for blobTemp->blobArray");
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

HRESULT IPPRequestAttributes::AddIPPRequest(unsigned type, unsigned char tag, const char* name,
                                            const unsigned char* value, int size) {
    const std::string_view nameText = name ? name : "";
    std::string encoded;
    const bool good = size >= 0 && (value || size == 0) && KyUtils::RaisingComErrors([&] {
                          return Ipp::EncodeAttribute(tag, nameText, AsText(value, size), encoded);
                      });
    if (!good) {
        logSource.Error(L"Invalid input parameters.. attributeblobSize=%d", size);
        return E_FAIL;
    }
    return AddIPPRequest(type, reinterpret_cast<const unsigned char*>(encoded.data()),
                         static_cast<int>(encoded.size()));
}

}  // namespace Corvix
