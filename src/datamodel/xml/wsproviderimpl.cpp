#include "datamodel/xml/wsproviderimpl.h"

#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

#include "datamodel/xml/xmlidentity.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"
#include "utilslib/uuid.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr wchar_t defaultUserName[] = L"guest";
constexpr wchar_t defaultPath[] = L"/";
/// The URI of the Web Services on Devices print service, which has a request of its own.
constexpr std::wstring_view printService = L"uri:prn";

constexpr std::string_view transferGetHead =
    R"(<s:Envelope xmlns:s="http://www.w3.org/2003/05/soap-envelope")"
    R"( xmlns:a="http://schemas.xmlsoap.org/ws/2004/08/addressing">)"
    R"(<s:Header>)"
    R"(<a:Action s:mustUnderstand="1">http://schemas.xmlsoap.org/ws/2004/09/transfer/Get</a:Action>)"
    R"(<h:ResourceURI xmlns:h="http://schemas.dmtf.org/wbem/wsman/1/wsman.xsd")"
    R"( xmlns="http://schemas.dmtf.org/wbem/wsman/1/wsman.xsd")"
    R"( xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xsd="http://www.w3.org/2001/XMLSchema">)";
constexpr std::string_view transferGetMessageId = R"(</h:ResourceURI><a:MessageID>urn:uuid:)";
constexpr std::string_view transferGetTo =
    R"(</a:MessageID>)"
    R"(<a:ReplyTo><a:Address>http://schemas.xmlsoap.org/ws/2004/08/addressing/role/anonymous</a:Address></a:ReplyTo>)"
    R"(<a:To s:mustUnderstand="1">https://)";
constexpr std::string_view transferGetPort = ":7627";
constexpr std::string_view transferGetTail =
    R"(</a:To></s:Header>)"
    R"(<s:Body xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" xmlns:xsd="http://www.w3.org/2001/XMLSchema"/>)"
    R"(</s:Envelope>)";

/// A printf format for host name, port, message id and sender's id.
constexpr char printerElementsFormat[] =
    R"(<?xml version="1.0" encoding="utf-8"?> )"
    R"(<soap:Envelope xmlns:soap="http://www.w3.org/2003/05/soap-envelope")"
    R"( xmlns:wsa="http://schemas.xmlsoap.org/ws/2004/08/addressing")"
    R"( xmlns:UNS1="http://www.microsoft.com/windows/test/testdevice/11/2005")"
    R"( xmlns:pri="http://schemas.microsoft.com/windows/2006/08/wdp/print">)"
    R"(<soap:Header><wsa:To>%s:%d</wsa:To>)"
    R"(<wsa:Action>http://schemas.microsoft.com/windows/2006/08/wdp/print/GetPrinterElements</wsa:Action>)"
    R"(<wsa:MessageID>urn:uuid:%s</wsa:MessageID>)"
    R"(<wsa:ReplyTo><wsa:Address>http://schemas.xmlsoap.org/ws/2004/08/addressing/role/anonymous</wsa:Address>)"
    R"(</wsa:ReplyTo><wsa:From><wsa:Address>urn:uuid:%s</wsa:Address></wsa:From>)"
    R"(<UNS1:ServiceIdentifier>uri:prn</UNS1:ServiceIdentifier></soap:Header>)"
    R"(<soap:Body><pri:GetPrinterElementsRequest><pri:RequestedElements>)"
    R"(<pri:Name>pri:PrinterDescription</pri:Name><pri:Name>pri:PrinterConfiguration</pri:Name>)"
    R"(<pri:Name>pri:PrinterCapabilities</pri:Name><pri:Name>pri:DefaultPrintTicket</pri:Name>)"
    R"(<pri:Name>pri:PrinterStatus</pri:Name>)"
    R"(</pri:RequestedElements></pri:GetPrinterElementsRequest></soap:Body></soap:Envelope>)";
using PrinterElementsBuffer = std::array<char, 2048>;

const wchar_t* PathOf(const wchar_t* uri) { return *uri == L'/' ? uri : defaultPath; }

struct Escape {
    char character;
    std::string_view text;
};
constexpr Escape escapes[] = {
    {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&apos;"}};

void AppendEscaped(std::string& escaped, char c) {
    for (const Escape& known : escapes) {
        if (known.character == c) {
            escaped += known.text;
            return;
        }
    }
    escaped += c;
}

/// Escapes a text for use as the content of an element, in UTF-8.
std::string XmlText(std::wstring_view text) {
    std::string escaped;
    for (const char c : KyUtils::ToUtf8(text))
        AppendEscaped(escaped, c);
    return escaped;
}

}  // namespace

WSProvider::~WSProvider() = default;

DisposablePtr<WSProvider> WSProviderImpl::Create(Address* address) {
    const KyUtils::LogScope scope(logSource, "Corvix::WSProviderImpl::Create");
    if (!address) return {};
    auto provider = DisposablePtr<WSProviderImpl>::Share(new WSProviderImpl(address));
    unsigned needed = 0;
    // With no buffer, E_OUTOFMEMORY means that the id exists; needed is 1 for an empty one.
    const HRESULT probed = provider->GetValue(wsIdentity.uri, wsIdentity.xpath, nullptr, 0, &needed, true, 0);
    if (probed != E_OUTOFMEMORY || needed <= 1) return {};
    return provider;
}

std::string WSProviderImpl::HostText() const {
    const wchar_t* name = Device() ? Device()->GetHostName() : nullptr;
    if (!name) return {};
    const std::string host = XmlText(name);
    // An IPv6 literal needs brackets, or its colons would read as a port.
    return host.find(':') == std::string::npos ? host : "[" + host + "]";
}

HRESULT WSProviderImpl::BuildTransferGetRequest(const wchar_t* uri, const wchar_t* path,
                                                std::string& envelope) {
    const KyUtils::LogScope scope(logSource, "Corvix::WSProviderImpl::BuildTransferGetRequest");
    if (!uri || !path) return E_FAIL;
    const auto messageId = KyUtils::NewUuidText();
    if (!messageId) return E_FAIL;
    std::string request(transferGetHead);
    request.append(XmlText(uri)).append(transferGetMessageId).append(*messageId).append(transferGetTo);
    request.append(HostText()).append(transferGetPort).append(XmlText(path)).append(transferGetTail);
    envelope = std::move(request);
    return S_OK;
}

HRESULT WSProviderImpl::BuildGetPrinterElementsRequest(std::string& envelope) {
    const KyUtils::LogScope scope(logSource, "Corvix::WSProviderImpl::BuildGetPrinterElementsRequest");
    const auto messageId = KyUtils::NewUuidText();
    const auto senderId = KyUtils::NewUuidText();
    if (!messageId || !senderId) return E_FAIL;
    PrinterElementsBuffer request{};
    const int length =
        std::snprintf(request.data(), request.size(), printerElementsFormat, HostText().c_str(),
                      static_cast<int>(kind), messageId->c_str(), senderId->c_str());
    if (length < 0 || static_cast<size_t>(length) >= request.size()) {
        logSource.Error(L"The host name is too long for a request");
        return E_FAIL;
    }
    envelope.assign(request.data(), static_cast<size_t>(length));
    return S_OK;
}

HRESULT WSProviderImpl::BuildRequest(const wchar_t* uri, std::string& envelope) {
    if (uri == printService) return BuildGetPrinterElementsRequest(envelope);
    return BuildTransferGetRequest(uri, PathOf(uri), envelope);
}

HRESULT WSProviderImpl::GetContent(const wchar_t* uri, std::string& body) {
    const KyUtils::LogScope scope(logSource, "Corvix::WSProviderImpl::GetContent");
    if (!uri) return E_FAIL;
    std::string envelope;
    const HRESULT built = BuildRequest(uri, envelope);
    return FAILED(built) ? built : Post(PathOf(uri), envelope, body);
}

HRESULT WSProviderImpl::Post(const wchar_t* path, const std::string& envelope, std::string& body) {
    DisposablePtr<HTTPRequest> request;
    HRESULT result = CreateRequest(request);
    if (FAILED(result)) return result;
    result = request->SetMethod(L"POST");
    if (FAILED(result)) return result;
    request->SetURI(path);
    request->SetUserName(UserName().empty() ? defaultUserName : UserName().c_str());
    if (!Password().empty()) request->SetPassword(Password().c_str());
    result = request->Send(reinterpret_cast<const unsigned char*>(envelope.data()),
                           static_cast<unsigned long>(envelope.size()));
    if (FAILED(result)) return result;
    // Between sending and the response: transports are told that the content type counts until then.
    request->SetContentType(L"application/soap+xml");
    return ReceiveText(*request, body);
}

}  // namespace Corvix
