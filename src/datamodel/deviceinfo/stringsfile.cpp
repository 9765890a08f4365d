#include "datamodel/deviceinfo/stringsfile.h"

#include <utility>

#include "datamodel/ipp/target/printeruri.h"
#include "datamodel/transport/fetch.h"
#include "resolver/resolverutils.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr HRESULT fetchFailed = static_cast<HRESULT>(0x80190001);
constexpr unsigned long ippPort = 631;
constexpr unsigned long webPort = 80;
constexpr wchar_t addressWithPort[] = LR"((?:(?:\b(?:\d{1,3}\.){3}(?:\d{1,3})\b)(?:(?::)([0-9]+))?))";

void RemoveAll(std::wstring& text, std::wstring_view piece) {
    for (size_t at; (at = text.find(piece)) != std::wstring::npos;)
        text.erase(at, piece.size());
}

/// What is left of a URI without its scheme and its host, whichever way the printer wrote them.
std::wstring PathOf(const std::wstring& uri) {
    std::wstring path = uri;
    for (const std::wstring_view piece : {L"http://", L"https://", L"localhost"})
        RemoveAll(path, piece);
    std::wstring found;
    while (CaptureSubString(path.c_str(), &found, addressWithPort, 0))
        path.erase(path.find(found), found.size());
    // A host name is left before the path.
    if (const size_t slash = path.find(L'/'); slash != std::wstring::npos) path.erase(0, slash);
    RemoveAll(path, L":");
    return path;
}

HRESULT Get(Address& address, unsigned long port, const wchar_t* path, std::string& content) {
    DisposablePtr<HTTPRequest> request;
    HRESULT result = CreateRequest(address, port, request);
    if (FAILED(result)) return result;
    request->SetURI(path);
    result = request->SetMethod(L"GET");
    if (SUCCEEDED(result)) result = request->Send(nullptr, 0);
    unsigned long status = 0;
    if (SUCCEEDED(result)) result = ReceiveBody(*request, content, status);
    if (status == 0) {
        logSource.Error(L"HTTP Response failed");
    } else if (FAILED(result) || content.empty()) {
        logSource.Error(L"HTTP Response code: %d", static_cast<int>(status));
    }
    return SUCCEEDED(result) && content.empty() ? E_FAIL : result;
}

}  // namespace

HRESULT FetchStringsFile(Address& address, const std::wstring& uri, std::string& content) {
    const std::wstring path = PathOf(uri);
    if (path.empty()) return E_FAIL;
    logSource.Debug(L"Locale Resource URI  : %ls", path.c_str());
    // The IPP port where the URI names that one, else the web port, whatever the URI says.
    const unsigned long port = SplitPortFromUri(uri).port == std::to_wstring(ippPort) ? ippPort : webPort;
    std::string received;
    if (FAILED(Get(address, port, path.c_str(), received)))
        return KyUtils::FailWith(ERROR_READ_FAULT, fetchFailed);
    content = std::move(received);
    return S_OK;
}

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

}  // namespace Corvix
