#include <gmock/gmock.h>

#include <memory>
#include <regex>
#include <string>

#include "datamodel/xml/wsproviderimpl.h"
#include "support/faketransport.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAddress;
using CorvixTest::FakeDevice;
using CorvixTest::HttpAnswer;
using CorvixTest::HttpExchange;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const wchar_t* deviceService = L"urn:veyra:imaging:con:service:device:DeviceService";

std::string Reply(const std::string& body) {
    return "<soap:Envelope xmlns:soap=\"http://www.w3.org/2003/05/soap-envelope\" "
           "xmlns:wprt=\"urn:test:wprt\">"
           "<soap:Body>" +
           body + "</soap:Body></soap:Envelope>";
}
const std::string deviceReply = Reply("<wprt:DeviceId>MFG:Test;SN:1;</wprt:DeviceId>");

class WsProviderTest : public testing::Test {
protected:
    WsProviderTest() {
        device->answer = [this](const HttpExchange&) { return reply; };
    }
    ~WsProviderTest() override {
        provider.Reset();
        address.Reset();
        EXPECT_EQ(CorvixTest::liveFakes, 0);
    }
    void MakeProvider() {
        provider = WSProviderImpl::Create(address.Get());
        ASSERT_TRUE(provider);
    }
    std::string TransferGet(const wchar_t* uri, const wchar_t* path) {
        std::string envelope;
        EXPECT_EQ(provider->BuildTransferGetRequest(uri, path, envelope), S_OK);
        return envelope;
    }
    std::string PrinterElements() {
        std::string envelope;
        EXPECT_EQ(provider->BuildGetPrinterElementsRequest(envelope), S_OK);
        return envelope;
    }
    /// The text of an element of an envelope, which must be well-formed.
    static std::wstring TextIn(const std::string& envelope, const wchar_t* xpath) {
        ComPtr<IXMLDOMDocument> document;
        EXPECT_EQ(LoadDomText(KyUtils::ToWide(envelope), document), S_OK) << envelope;
        ComPtr<IXMLDOMNode> node;
        if (!document || SelectNode(document.Get(), xpath, node) != S_OK) return L"missing";
        KyUtils::Bstr text;
        node->get_text(text.Receive());
        return std::wstring(text.View());
    }

    HttpAnswer reply{200, deviceReply};
    CorvixTest::FakeDevicePtr device = std::make_shared<FakeDevice>();
    DisposablePtr<Address> address{new FakeAddress(device)};
    DisposablePtr<WSProvider> provider;
};

TEST_F(WsProviderTest, ServesDevicesThatTellTheirId) {
    const HttpAnswer others[] = {{200, Reply("<wprt:DeviceId/>")},
                                 {200, Reply("<wprt:Other/>")},
                                 {500, deviceReply},
                                 {200, Reply("<soap:Fault/>")},
                                 {200, "hello"},
                                 {200, "", E_ABORT}};
    for (const HttpAnswer& other : others) {
        reply = other;
        EXPECT_FALSE(WSProviderImpl::Create(address.Get())) << other.body;
    }
    EXPECT_FALSE(WSProviderImpl::Create(nullptr));
}

TEST_F(WsProviderTest, PostsEveryRequest) {
    MakeProvider();
    const HttpExchange& exchange = device->exchanges.at(0);
    EXPECT_EQ(provider->GetKind(), 3910u);
    EXPECT_EQ(exchange.port, 3910u);
    EXPECT_THAT(exchange.calls,
                ElementsAre("SetMethod", "SetURI", "SetUserName", "Send", "SetContentType", "GetResponse"));
    EXPECT_EQ(exchange.method, L"POST");
    EXPECT_EQ(exchange.userName, L"guest");
    EXPECT_EQ(exchange.contentType, L"application/soap+xml");
    EXPECT_EQ(TextIn(exchange.body, L"//h:ResourceURI"), deviceService);
}

TEST_F(WsProviderTest, SendsConfiguredCredentials) {
    MakeProvider();
    dynamic_cast<XMLProvider&>(*provider).SetCredentials(L"me", L"secret");
    std::string body;
    EXPECT_EQ(provider->GetContent(deviceService, body), S_OK);
    EXPECT_EQ(body, deviceReply);
    EXPECT_EQ(device->exchanges.back().userName, L"me");
    EXPECT_EQ(device->exchanges.back().password, L"secret");
}

TEST_F(WsProviderTest, AsksThePrintServiceForItsElementsAndOthersWithTransferGet) {
    MakeProvider();
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"urn:test:a?b&c", L"/"}, {L"/service", L"/service"}, {L"", L"/"}};
    std::string body;
    for (const auto& [uri, path] : cases) {
        EXPECT_EQ(provider->GetContent(uri, body), S_OK);
        EXPECT_EQ(device->exchanges.back().uri, path);
        EXPECT_EQ(TextIn(device->exchanges.back().body, L"//h:ResourceURI"), uri);
    }
    EXPECT_EQ(provider->GetContent(L"uri:prn", body), S_OK);
    EXPECT_EQ(device->exchanges.back().uri, L"/");
    EXPECT_EQ(TextIn(device->exchanges.back().body, L"//pri:Name"), L"pri:PrinterDescription");
}

TEST_F(WsProviderTest, BuildsTheTransferGetRequest) {
    MakeProvider();
    const std::string envelope = TransferGet(L"urn:x:\u00E9<&>\"'", L"/path?a&b");
    EXPECT_EQ(envelope.find_first_of("\r\n"), std::string::npos);
    EXPECT_EQ(TextIn(envelope, L"/s:Envelope/s:Header/h:ResourceURI"), L"urn:x:\u00E9<&>\"'");
    EXPECT_EQ(TextIn(envelope, L"/s:Envelope/s:Header/a:To"), L"https://printer.test:7627/path?a&b");
    EXPECT_THAT(envelope, HasSubstr("<a:To s:mustUnderstand=\"1\">https://printer.test"));
    EXPECT_EQ(TextIn(envelope, L"//a:Action"), L"http://schemas.xmlsoap.org/ws/2004/09/transfer/Get");
    EXPECT_EQ(TextIn(envelope, L"//a:ReplyTo/a:Address"),
              L"http://schemas.xmlsoap.org/ws/2004/08/addressing/role/anonymous");
    EXPECT_EQ(TextIn(envelope, L"/s:Envelope/s:Body"), L"");
    EXPECT_TRUE(
        std::regex_search(envelope, std::regex(">urn:uuid:[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}<")));
    EXPECT_NE(TextIn(envelope, L"//a:MessageID"), TextIn(TransferGet(L"urn:x", L"/"), L"//a:MessageID"));
    std::string untouched = "untouched";
    EXPECT_EQ(provider->BuildTransferGetRequest(nullptr, L"/", untouched), E_FAIL);
    EXPECT_EQ(provider->BuildTransferGetRequest(L"urn:x", nullptr, untouched), E_FAIL);
    EXPECT_EQ(untouched, "untouched");
}

TEST_F(WsProviderTest, BuildsTheGetPrinterElementsRequest) {
    MakeProvider();
    const std::string envelope = PrinterElements();
    EXPECT_EQ(envelope.rfind("<?xml version=\"1.0\" encoding=\"utf-8\"?> <soap:Envelope", 0), 0u);
    EXPECT_EQ(TextIn(envelope, L"//wsa:To"), L"printer.test:3910");
    EXPECT_EQ(TextIn(envelope, L"//UNS1:ServiceIdentifier"), L"uri:prn");
    EXPECT_NE(TextIn(envelope, L"//wsa:MessageID"), TextIn(envelope, L"//wsa:From/wsa:Address"));
    EXPECT_NE(TextIn(envelope, L"//wsa:MessageID"), TextIn(PrinterElements(), L"//wsa:MessageID"));
    std::string names;
    const std::regex name("<pri:Name>(pri:[A-Za-z]+)</pri:Name>");
    for (std::sregex_iterator i(envelope.begin(), envelope.end(), name), end; i != end; ++i)
        names += i->str(1) + " ";
    EXPECT_EQ(names,
              "pri:PrinterDescription pri:PrinterConfiguration pri:PrinterCapabilities "
              "pri:DefaultPrintTicket pri:PrinterStatus ");
}

TEST_F(WsProviderTest, TakesHostNamesOfAnyKind) {
    MakeProvider();
    device->host = L"fe80::1";
    EXPECT_EQ(TextIn(PrinterElements(), L"//wsa:To"), L"[fe80::1]:3910");
    device->host = L"a<b>&c";
    EXPECT_EQ(TextIn(PrinterElements(), L"//wsa:To"), L"a<b>&c:3910");
    EXPECT_EQ(TextIn(TransferGet(L"urn:x", L""), L"//a:To"), L"https://a<b>&c:7627");
    device->host = std::wstring(3000, L'h');
    std::string untouched = "untouched";
    EXPECT_EQ(provider->BuildGetPrinterElementsRequest(untouched), E_FAIL);
    EXPECT_EQ(untouched, "untouched");
}

TEST_F(WsProviderTest, FailsWithEveryFailingCall) {
    for (int k = 1; k <= 4; ++k) {
        device->calls = 0;
        device->failingCall = k;
        EXPECT_FALSE(WSProviderImpl::Create(address.Get())) << k;
        EXPECT_EQ(CorvixTest::liveFakes, 1) << k;
    }
}

}  // namespace
}  // namespace Corvix
