// The flat device-information functions: make a provider, read an attribute, hand the text over.
#include <algorithm>
#include <iterator>
#include <memory>
#include <regex>
#include <string>

#include "corvixdm/deviceinfo.h"
#include "corvixdm/disposableptr.h"
#include "corvixdm/ippprovider.h"
#include "corvixdm/transport.h"
#include "datamodel/api/stringsmap.h"
#include "datamodel/ipp/target/printeruri.h"
#include "utilslib/boundary.h"
#include "utilslib/com.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace {

using Corvix::Address;
using Corvix::DisposablePtr;
using Corvix::HTTPRequest;
using Corvix::HTTPResponse;
using Corvix::IPPProvider;
using Corvix::StringsMap;

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr const char* printerResource = "/ipp/printer";
constexpr HRESULT fetchFailed = static_cast<HRESULT>(0x80190001);
constexpr DWORD readFault = ERROR_READ_FAULT;
constexpr unsigned long httpOk = 200;
constexpr unsigned long ippPort = 631;
constexpr unsigned long webPort = 80;

/// A buffer of the library's allocator, for the caller to give back.
template <class Character>
std::unique_ptr<Character[]> BufferOf(std::basic_string_view<Character> text) {
    auto buffer = std::make_unique<Character[]>(text.size() + 1);
    text.copy(buffer.get(), text.size());
    return buffer;
}

HRESULT HandOver(std::wstring_view text, wchar_t** target) {
    *target = BufferOf(text).release();
    return S_OK;
}

HRESULT FailForNull() {
    SetLastError(ERROR_INVALID_PARAMETER);
    return E_FAIL;
}

DisposablePtr<IPPProvider> ProviderFor(Address* address, const wchar_t* locale) {
    IPPProvider* provider =
        locale ? CreateIPPProvider2(address, printerResource, KyUtils::ToUtf8(locale).c_str())
               : CreateIPPProvider(address, printerResource);
    if (!provider) logSource.Error(L"IPPProvider failed!!");
    return DisposablePtr<IPPProvider>(provider);
}

/// Reads one attribute. The lines of success and failure differ by function, so they come along.
bool Read(IPPProvider& provider, const char* attribute, const wchar_t* found, const wchar_t* missing,
          std::wstring& text) {
    KyUtils::Variant value;
    if (provider.GetValue(attribute, value.Receive()) != S_OK || value.Text().empty()) {
        logSource.Error(missing);
        return false;
    }
    text = value.Text();
    logSource.Debug(found, text.c_str());
    return true;
}

bool ReadMediaTypes(Address* address, std::wstring& text) {
    const DisposablePtr<IPPProvider> provider = ProviderFor(address, nullptr);
    return provider && Read(*provider, "media-type-supported", L"IPP media-type-supported : %ls",
                            L"Unable to fetch IPP media-type-supported attribute\n", text);
}

/// Where a strings file is on the device.
struct StringsResource {
    std::wstring path;
    unsigned long port;
};

/// Takes the host out of a strings URI, whichever way the printer wrote it.
StringsResource ResourceOf(const std::wstring& uri) {
    static const std::wregex scheme(L"https?://|localhost");
    static const std::wregex addressWithPort(LR"((?:(?:\b(?:\d{1,3}\.){3}(?:\d{1,3})\b)(?:(?::)([0-9]+))?))");
    const std::wstring port = Corvix::SplitPortFromUri(uri).port;
    std::wstring path = std::regex_replace(uri, scheme, L"");
    path = std::regex_replace(path, addressWithPort, L"");
    // What is left before the path is a host name.
    if (const size_t slash = path.find(L'/'); slash != std::wstring::npos) path.erase(0, slash);
    path.erase(std::remove(path.begin(), path.end(), L':'), path.end());
    return {path, port == L"631" ? ippPort : webPort};
}

HRESULT FailFetch() {
    SetLastError(readFault);
    return fetchFailed;
}

HRESULT Fetch(Address& address, const StringsResource& resource, std::string& content) {
    DisposablePtr<HTTPRequest> request;
    if (address.CreateHTTPRequest(request.Receive(), resource.port) != S_OK || !request) return FailFetch();
    request->SetURI(resource.path.c_str());
    DisposablePtr<HTTPResponse> response;
    if (request->SetMethod(L"GET") != S_OK || FAILED(request->Send(nullptr, 0)) ||
        FAILED(request->GetResponse(response.Receive())) || !response) {
        logSource.Error(L"HTTP Response failed");
        return FailFetch();
    }
    const unsigned char* body = response->GetBody();
    const unsigned long length = response->GetBodyLength();
    if (response->GetStatusCode() != httpOk || !body || length == 0) {
        logSource.Error(L"HTTP Response code: %d", static_cast<int>(response->GetStatusCode()));
        return FailFetch();
    }
    content.assign(reinterpret_cast<const char*>(body), length);
    return S_OK;
}

/// Strings files are UTF-8, or UTF-16 with a byte order mark.
std::wstring DecodeStrings(std::string_view content) {
    constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
    const bool littleEndian = content.substr(0, 2) == "\xFF\xFE";
    if (!littleEndian && content.substr(0, 2) != "\xFE\xFF") {
        if (content.substr(0, utf8Mark.size()) == utf8Mark) content.remove_prefix(utf8Mark.size());
        return KyUtils::ToWide(content);
    }
    std::wstring text;
    for (size_t i = 2; i + 1 < content.size(); i += 2) {
        const auto first = static_cast<unsigned char>(content[i]);
        const auto second = static_cast<unsigned char>(content[i + 1]);
        text += static_cast<wchar_t>(littleEndian ? first | second << 8 : first << 8 | second);
    }
    return text;
}

HRESULT FetchLocaleStrings(Address* address, const wchar_t* locale, std::string& content) {
    const DisposablePtr<IPPProvider> provider = ProviderFor(address, locale);
    if (!provider) return E_FAIL;
    std::wstring supported;
    std::wstring uri;
    std::wstring configured;
    Read(*provider, "generated-natural-language-supported", L"IPP generated-natural-language-supported : %ls",
         L"Unable to fetch IPP generated-natural-language-supported attribute\n", supported);
    Read(*provider, "printer-strings-uri", L"IPP printer-strings-uri : %ls",
         L"Unable to fetch IPP printer-strings-uri attribute\n", uri);
    Read(*provider, "natural-language-configured", L"IPP natural-language-configured : %ls",
         L"Unable to fetch IPP natural-language-configured attribute\n", configured);
    if (uri.empty()) {
        logSource.Error(L"IPP attribute fetch failed");
        return E_FAIL;
    }
    logSource.Debug(L"Requested locale code : %ls", locale);
    logSource.Debug(L"Set locale code : %ls", configured.c_str());
    const StringsResource resource = ResourceOf(uri);
    if (resource.path.empty()) return E_FAIL;
    logSource.Debug(L"Locale Resource URI  : %ls", resource.path.c_str());
    return Fetch(*address, resource, content);
}

template <class Text>
void Free(Text* buffer) {
    const std::unique_ptr<Text[]> owned(buffer);
}

}  // namespace

HRESULT GetDeviceLocaleStrings(CorvixAddress* address, const wchar_t* locale, wchar_t** wide,
                               char** content) {
    const KyUtils::LogScope scope(logSource, "GetDeviceLocaleStrings");
    if (!address || !locale || !wide || !content) return FailForNull();
    return KyUtils::NeverThrowing([&] {
        std::string received;
        const HRESULT fetched = FetchLocaleStrings(address, locale, received);
        if (FAILED(fetched)) return fetched;
        logSource.Debug(L"Received Content: %hs", received.c_str());
        auto narrow = BufferOf(std::string_view(received));
        logSource.Debug(L"Received Content for return: %hs", narrow.get());
        auto text = BufferOf(std::wstring_view(DecodeStrings(received)));
        logSource.Debug(L"Received Content for return: %ls", text.get());
        logSource.Debug(L"Received Content Address for return: %ls", text.get());
        *wide = text.release();
        *content = narrow.release();
        return S_OK;
    });
}

HRESULT GetDeviceLocaleStringsCollection(CorvixAddress* address, const wchar_t* locale,
                                         CorvixStringsMap* strings, char** content) {
    const KyUtils::LogScope scope(logSource, "GetDeviceLocaleStringsCollection");
    if (!address || !locale || !strings || !content) return FailForNull();
    return KyUtils::NeverThrowing([&] {
        std::string received;
        const HRESULT fetched = FetchLocaleStrings(address, locale, received);
        if (FAILED(fetched)) return fetched;
        StringsMap parsed;
        Corvix::ParseStrings(DecodeStrings(received), Corvix::stringsFileFormat, parsed);
        logSource.Debug(parsed.empty() ? L"wDeviceStrings is empty" : L"wsParsedMap not empty");
        auto narrow = BufferOf(std::string_view(received));
        for (auto& [key, value] : parsed)
            strings->insert_or_assign(key, value);
        *content = narrow.release();
        return S_OK;
    });
}

HRESULT ParseStringsToMap(const wchar_t* text, const wchar_t* elementSeparator, const wchar_t* lineSeparator,
                          CorvixStringsMap* strings, int keyTrim, int valueTrim) {
    const KyUtils::LogScope scope(logSource, "ParseStringsToMap");
    if (!elementSeparator || !lineSeparator || !*elementSeparator || !*lineSeparator || keyTrim < 0 ||
        valueTrim < 0)
        return FailForNull();
    logSource.Debug(L"elementSeperator: %ls, lineSeperator: %ls ", elementSeparator, lineSeparator);
    if (!text || !*text) {
        logSource.Error(L"ParseStringsToMap: wDeviceStrings is empty");
        return E_FAIL;
    }
    if (!strings) {
        logSource.Error(L"sDeviceStringsMap is null");
        return E_FAIL;
    }
    return KyUtils::NeverThrowing([&] {
        const Corvix::StringsFormat format = {elementSeparator, lineSeparator, static_cast<size_t>(keyTrim),
                                              static_cast<size_t>(valueTrim)};
        Corvix::ParseStrings(text, format, *strings);
        return S_OK;
    });
}

HRESULT GetMediaTypesList(CorvixAddress* address, CorvixMediaTypesList* types) {
    const KyUtils::LogScope scope(logSource, "GetMediaTypesList");
    if (!address || !types) return FailForNull();
    return KyUtils::NeverThrowing([&]() -> HRESULT {
        std::wstring text;
        if (!ReadMediaTypes(address, text)) return E_FAIL;
        CorvixMediaTypesList read;
        for (const std::wstring_view type : KyUtils::Split(text, L','))
            read.emplace_back(type);
        if (read.empty()) logSource.Error(L"Media Type List is empty");
        types->splice(types->end(), read);
        return S_OK;
    });
}

HRESULT GetMediaTypesString(CorvixAddress* address, wchar_t** text) {
    const KyUtils::LogScope scope(logSource, "GetMediaTypesString");
    if (!address || !text) return FailForNull();
    return KyUtils::NeverThrowing([&]() -> HRESULT {
        std::wstring types;
        if (!ReadMediaTypes(address, types)) return E_FAIL;
        logSource.Debug(L"Received Content Address for return: %ls", types.c_str());
        return HandOver(types, text);
    });
}

HRESULT GetPrinterStringsUri(CorvixAddress* address, const wchar_t* locale, wchar_t** uri) {
    const KyUtils::LogScope scope(logSource, "GetPrinterStringsUri");
    if (!address || !locale || !uri) return FailForNull();
    return KyUtils::NeverThrowing([&]() -> HRESULT {
        const DisposablePtr<IPPProvider> provider = ProviderFor(address, locale);
        std::wstring text;
        if (!provider || !Read(*provider, "printer-strings-uri", L"IPP printer-strings-uri : %ls",
                               L"Unable to fetch IPP printer-strings-uri attribute\n", text))
            return E_FAIL;
        return HandOver(text, uri);
    });
}

HRESULT GetDeviceIDStringItem(CorvixAddress* address, const wchar_t* key, wchar_t** value) {
    const KyUtils::LogScope scope(logSource, "GetDeviceIDStringItem");
    if (!address || !key || !value) return FailForNull();
    return KyUtils::NeverThrowing([&]() -> HRESULT {
        const DisposablePtr<IPPProvider> provider = ProviderFor(address, nullptr);
        std::wstring text;
        if (!provider ||
            !Read(*provider, "printer-device-id", L"GetDeviceIDStringItem - IPP printer-device-id : %ls",
                  L"GetDeviceIDStringItem - Unable to fetch IPP printer-device-id attribute\n", text))
            return E_FAIL;
        StringsMap items;
        Corvix::ParseStrings(text, Corvix::deviceIdFormat, items);
        if (!items.empty()) logSource.Debug(L"GetDeviceIDStringItems - PrinterDeviceIDStringMap not empty\n");
        const auto found = items.find(key);
        if (found == items.end()) {
            logSource.Error(L"GetDeviceIDStringItems - Key Not found in sPrinterDeviceIDStringMap, %ls\n",
                            key);
            return E_FAIL;
        }
        if (found->second.empty()) {
            logSource.Error(L"GetDeviceIDStringItems - Value Not found for key: %ls\n", key);
            return E_FAIL;
        }
        logSource.Debug(L"GetDeviceIDStringItems - Value found: %ls\n", found->second.c_str());
        HandOver(found->second, value);
        logSource.Debug(L"GetDeviceIDStringItems - LPWSTR wsDeviceIDValue: %ls\n", *value);
        return S_OK;
    });
}

void DisposeStringBuffer(wchar_t* wide, char* content) {
    Free(wide);
    Free(content);
}
void DisposeStringCollection(CorvixStringsMap* strings, char* content) {
    const std::unique_ptr<CorvixStringsMap> owned(strings);
    Free(content);
}
void DisposeMediaTypesList(CorvixMediaTypesList* types) {
    const std::unique_ptr<CorvixMediaTypesList> owned(types);
}
void DisposeMediaTypesString(wchar_t* text) { Free(text); }
void DisposePrinterStringsUri(wchar_t* uri) { Free(uri); }
void DisposeDeviceIDStringItem(wchar_t* value) { Free(value); }

CorvixStringsMap* CreateStringCollection(void) { return new (std::nothrow) CorvixStringsMap; }

unsigned GetStringCount(const CorvixStringsMap* strings) {
    return strings ? static_cast<unsigned>(strings->size()) : 0;
}

const wchar_t* FindString(const CorvixStringsMap* strings, const wchar_t* key) {
    if (!strings || !key) return nullptr;
    const auto found = strings->find(key);
    return found == strings->end() ? nullptr : found->second.c_str();
}

CorvixMediaTypesList* CreateMediaTypesList(void) { return new (std::nothrow) CorvixMediaTypesList; }

unsigned GetMediaTypeCount(const CorvixMediaTypesList* types) {
    return types ? static_cast<unsigned>(types->size()) : 0;
}

const wchar_t* GetMediaType(const CorvixMediaTypesList* types, unsigned index) {
    if (!types || index >= types->size()) return nullptr;
    return std::next(types->begin(), static_cast<std::ptrdiff_t>(index))->c_str();
}
