// The flat device-information functions: make a provider, read what is asked for, hand the text over.
#include <iterator>
#include <memory>
#include <string>

#include "corvixdm/deviceinfo.h"
#include "corvixdm/disposableptr.h"
#include "corvixdm/ippprovider.h"
#include "datamodel/deviceinfo/deviceinfo.h"
#include "datamodel/deviceinfo/stringsfile.h"
#include "datamodel/deviceinfo/stringsmap.h"
#include "utilslib/boundary.h"
#include "utilslib/lasterror.h"
#include "utilslib/stringutils.h"

namespace {

using Corvix::Address;
using Corvix::DisposablePtr;
using Corvix::IPPProvider;
using Corvix::StringsMap;
using KyUtils::FailWith;
using KyUtils::NoThrowEntry;

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr char printerResource[] = "/ipp/printer";

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

/// Asks the printer behind an address. \param locale the language that it is to answer in, or null.
template <class Ask>
HRESULT AskPrinter(Address* address, const wchar_t* locale, Ask ask) {
    const DisposablePtr<IPPProvider> provider(
        locale ? CreateIPPProvider2(address, printerResource, KyUtils::ToUtf8(locale).c_str())
               : CreateIPPProvider(address, printerResource));
    if (provider) return ask(*provider);
    logSource.Error(L"IPPProvider failed!!");
    return E_FAIL;
}

HRESULT ReadMediaTypes(Address* address, std::wstring& text) {
    return AskPrinter(address, nullptr, [&](IPPProvider& provider) {
        return Corvix::ReadMediaTypes(provider, text) ? S_OK : E_FAIL;
    });
}

HRESULT ReadLocaleStrings(Address* address, const wchar_t* locale, std::string& content) {
    return AskPrinter(address, locale, [&](IPPProvider& provider) {
        return Corvix::ReadLocaleStrings(provider, *address, locale, content);
    });
}

template <class Text>
void Free(Text* buffer) {
    const std::unique_ptr<Text[]> owned(buffer);
}

}  // namespace

HRESULT GetDeviceLocaleStrings(CorvixAddress* address, const wchar_t* locale, wchar_t** wide,
                               char** content) {
    return NoThrowEntry(logSource, "GetDeviceLocaleStrings", [&] {
        if (!address || !locale || !wide || !content) return FailWith(ERROR_INVALID_PARAMETER);
        std::string received;
        const HRESULT fetched = ReadLocaleStrings(address, locale, received);
        if (FAILED(fetched)) return fetched;
        logSource.Debug(L"Received Content: %hs", received.c_str());
        auto narrow = BufferOf(std::string_view(received));
        logSource.Debug(L"Received Content for return: %hs", narrow.get());
        auto text = BufferOf(std::wstring_view(Corvix::DecodeStrings(received)));
        logSource.Debug(L"Received Content for return: %ls", text.get());
        logSource.Debug(L"Received Content Address for return: %ls", text.get());
        // Both buffers are made before either is handed out.
        *wide = text.release();
        *content = narrow.release();
        return S_OK;
    });
}

HRESULT GetDeviceLocaleStringsCollection(CorvixAddress* address, const wchar_t* locale,
                                         CorvixStringsMap* strings, char** content) {
    return NoThrowEntry(logSource, "GetDeviceLocaleStringsCollection", [&] {
        if (!address || !locale || !strings || !content) return FailWith(ERROR_INVALID_PARAMETER);
        std::string received;
        const HRESULT fetched = ReadLocaleStrings(address, locale, received);
        if (FAILED(fetched)) return fetched;
        StringsMap parsed;
        Corvix::ParseStrings(Corvix::DecodeStrings(received), Corvix::stringsFileFormat, parsed);
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
    return NoThrowEntry(logSource, "ParseStringsToMap", [&] {
        if (!elementSeparator || !lineSeparator || !*elementSeparator || !*lineSeparator || keyTrim < 0 ||
            valueTrim < 0)
            return FailWith(ERROR_INVALID_PARAMETER);
        logSource.Debug(L"elementSeperator: %ls, lineSeperator: %ls ", elementSeparator, lineSeparator);
        const bool isEmpty = !text || !*text;
        if (isEmpty) logSource.Error(L"ParseStringsToMap: wDeviceStrings is empty");
        if (!isEmpty && !strings) logSource.Error(L"sDeviceStringsMap is null");
        if (isEmpty || !strings) return E_FAIL;
        const Corvix::StringsFormat format = {elementSeparator, lineSeparator, static_cast<size_t>(keyTrim),
                                              static_cast<size_t>(valueTrim)};
        Corvix::ParseStrings(text, format, *strings);
        return S_OK;
    });
}

HRESULT GetMediaTypesList(CorvixAddress* address, CorvixMediaTypesList* types) {
    return NoThrowEntry(logSource, "GetMediaTypesList", [&] {
        if (!address || !types) return FailWith(ERROR_INVALID_PARAMETER);
        std::wstring text;
        const HRESULT result = ReadMediaTypes(address, text);
        if (FAILED(result)) return result;
        // Collected first, so that the caller's list is untouched when memory runs out.
        CorvixMediaTypesList read;
        for (const std::wstring_view type : KyUtils::Split(text, L','))
            read.emplace_back(type);
        if (read.empty()) logSource.Error(L"Media Type List is empty");
        types->splice(types->end(), read);
        return S_OK;
    });
}

HRESULT GetMediaTypesString(CorvixAddress* address, wchar_t** text) {
    return NoThrowEntry(logSource, "GetMediaTypesString", [&] {
        if (!address || !text) return FailWith(ERROR_INVALID_PARAMETER);
        std::wstring types;
        const HRESULT result = ReadMediaTypes(address, types);
        if (FAILED(result)) return result;
        logSource.Debug(L"Received Content Address for return: %ls", types.c_str());
        return HandOver(types, text);
    });
}

HRESULT GetPrinterStringsUri(CorvixAddress* address, const wchar_t* locale, wchar_t** uri) {
    return NoThrowEntry(logSource, "GetPrinterStringsUri", [&] {
        if (!address || !locale || !uri) return FailWith(ERROR_INVALID_PARAMETER);
        return AskPrinter(address, locale, [&](IPPProvider& provider) {
            std::wstring text;
            return Corvix::ReadStringsUri(provider, text) ? HandOver(text, uri) : E_FAIL;
        });
    });
}

HRESULT GetDeviceIDStringItem(CorvixAddress* address, const wchar_t* key, wchar_t** value) {
    return NoThrowEntry(logSource, "GetDeviceIDStringItem", [&] {
        if (!address || !key || !value) return FailWith(ERROR_INVALID_PARAMETER);
        return AskPrinter(address, nullptr, [&](IPPProvider& provider) {
            std::wstring text;
            const HRESULT result = Corvix::ReadDeviceIdItem(provider, key, text);
            if (FAILED(result)) return result;
            HandOver(text, value);
            logSource.Debug(L"GetDeviceIDStringItems - LPWSTR wsDeviceIDValue: %ls\n", *value);
            return S_OK;
        });
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
