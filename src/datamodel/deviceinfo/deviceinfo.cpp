#include "datamodel/deviceinfo/deviceinfo.h"

#include "datamodel/deviceinfo/stringsfile.h"
#include "datamodel/deviceinfo/stringsmap.h"
#include "utilslib/com.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// An attribute, and the lines that tell what came of reading it.
struct Question {
    const char* attribute;
    const wchar_t* found;
    const wchar_t* missing;
};
constexpr Question mediaTypes = {"media-type-supported", L"IPP media-type-supported : %ls",
                                 L"Unable to fetch IPP media-type-supported attribute\n"};
constexpr Question stringsUri = {"printer-strings-uri", L"IPP printer-strings-uri : %ls",
                                 L"Unable to fetch IPP printer-strings-uri attribute\n"};
constexpr Question generatedLanguages = {
    "generated-natural-language-supported", L"IPP generated-natural-language-supported : %ls",
    L"Unable to fetch IPP generated-natural-language-supported attribute\n"};
constexpr Question configuredLanguage = {"natural-language-configured",
                                         L"IPP natural-language-configured : %ls",
                                         L"Unable to fetch IPP natural-language-configured attribute\n"};
constexpr Question deviceId = {"printer-device-id", L"GetDeviceIDStringItem - IPP printer-device-id : %ls",
                               L"GetDeviceIDStringItem - Unable to fetch IPP printer-device-id attribute\n"};

bool Read(IPPProvider& provider, const Question& question, std::wstring& text) {
    KyUtils::Variant value;
    if (provider.GetValue(question.attribute, value.Receive()) != S_OK || value.Text().empty()) {
        logSource.Error(question.missing);
        return false;
    }
    text = value.Text();
    logSource.Debug(question.found, text.c_str());
    return true;
}

}  // namespace

bool ReadMediaTypes(IPPProvider& provider, std::wstring& text) { return Read(provider, mediaTypes, text); }

bool ReadStringsUri(IPPProvider& provider, std::wstring& text) { return Read(provider, stringsUri, text); }

HRESULT ReadDeviceIdItem(IPPProvider& provider, const wchar_t* key, std::wstring& value) {
    std::wstring text;
    if (!Read(provider, deviceId, text)) return E_FAIL;
    StringsMap items;
    ParseStrings(text, deviceIdFormat, items);
    if (!items.empty()) logSource.Debug(L"GetDeviceIDStringItems - PrinterDeviceIDStringMap not empty\n");
    const auto found = items.find(key);
    if (found == items.end()) {
        logSource.Error(L"GetDeviceIDStringItems - Key Not found in sPrinterDeviceIDStringMap, %ls\n", key);
        return E_FAIL;
    }
    if (found->second.empty()) {
        logSource.Error(L"GetDeviceIDStringItems - Value Not found for key: %ls\n", key);
        return E_FAIL;
    }
    value = found->second;
    logSource.Debug(L"GetDeviceIDStringItems - Value found: %ls\n", value.c_str());
    return S_OK;
}

HRESULT ReadLocaleStrings(IPPProvider& provider, Address& address, const wchar_t* locale,
                          std::string& content) {
    std::wstring supported;
    std::wstring uri;
    std::wstring configured;
    // Only the URI is needed; the languages are read for the log.
    Read(provider, generatedLanguages, supported);
    Read(provider, stringsUri, uri);
    Read(provider, configuredLanguage, configured);
    if (uri.empty()) {
        logSource.Error(L"IPP attribute fetch failed");
        return E_FAIL;
    }
    logSource.Debug(L"Requested locale code : %ls", locale);
    logSource.Debug(L"Set locale code : %ls", configured.c_str());
    return FetchStringsFile(address, uri, content);
}

}  // namespace Corvix
