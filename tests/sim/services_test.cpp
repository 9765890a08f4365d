// The simulator's discovery tree and web services.
#include <gtest/gtest.h>

#include "sim/peer/httpclient.h"
#include "sim/peer/simprocess.h"

namespace {

constexpr char kSoapType[] = "application/soap+xml";
constexpr char kDeviceService[] = "urn:veyra:imaging:con:service:device:DeviceService";
constexpr char kGet[] = "http://schemas.xmlsoap.org/ws/2004/09/transfer/Get";
constexpr char kGetElements[] = "http://schemas.microsoft.com/windows/2006/08/wdp/print/GetPrinterElements";

std::string Envelope(const std::string& action, const std::string& header, const std::string& body) {
    return "<s:Envelope xmlns:s=\"http://www.w3.org/2003/05/soap-envelope\" "
           "xmlns:a=\"urn:a\"><s:Header><a:Action>" +
           action + "</a:Action><a:MessageID>urn:uuid:one&amp;two</a:MessageID>" + header +
           "</s:Header><s:Body>" + body + "</s:Body></s:Envelope>";
}

std::string TransferGet(const std::string& resource) {
    return Envelope(kGet, "<h:ResourceURI xmlns:h=\"urn:h\">" + resource + "</h:ResourceURI>", "");
}

class SimServices : public testing::Test {
protected:
    static void SetUpTestSuite() { sim_ = std::make_unique<SimProcess>(); }
    static void TearDownTestSuite() { sim_.reset(); }
    void SetUp() override {
        sim_->Control("POST", "/sim/faults/clear");
        sim_->Control("POST", "/sim/counters/reset");
    }

    static HttpAnswer Post(const std::string& body, const std::string& type = kSoapType) {
        HttpClient client(sim_->Address(), sim_->Port("3910"));
        return client.Exchange("POST", "/", body, type);
    }
    static HttpAnswer Pavo(const std::string& path) {
        return HttpGet(sim_->Address(), sim_->Port("8080"), path);
    }

    static std::unique_ptr<SimProcess> sim_;
};

std::unique_ptr<SimProcess> SimServices::sim_;

bool Contains(const HttpAnswer& answer, const std::string& text) {
    return answer.body.find(text) != std::string::npos;
}

TEST_F(SimServices, EveryResourceOfTheDiscoveryTreeIsThere) {
    const std::string tree = Pavo("/DevMgmt/DiscoveryTree.xml").body;
    EXPECT_NE(tree.find(":veyraPavoProductConfigDyn</dd:ResourceType>"), std::string::npos);
    const std::string start = "<dd:ResourceURI>";
    int resources = 0;
    for (size_t at = tree.find(start); at != std::string::npos; at = tree.find(start, at + 1), ++resources) {
        const size_t begin = at + start.size();
        const std::string uri = tree.substr(begin, tree.find('<', begin) - begin);
        const HttpAnswer answer = Pavo(uri);
        EXPECT_EQ(answer.status, 200) << uri;
        EXPECT_TRUE(Contains(answer, "xmlns:dd=")) << uri;
        EXPECT_FALSE(Contains(answer, "{{")) << uri;
    }
    EXPECT_GE(resources, 4);
    EXPECT_TRUE(
        Contains(Pavo("/DevMgmt/ProductConfigDyn.xml"), "<dd:SerialNumber>VYR0C42A0017</dd:SerialNumber>"));
}

TEST_F(SimServices, ADocumentOfOnePortIsNotOnAnother) {
    EXPECT_EQ(HttpGet(sim_->Address(), sim_->Port("80"), "/DevMgmt/DiscoveryTree.xml").status, 404);
    EXPECT_EQ(Pavo("/veyra/device/trays.xml").status, 404);
    EXPECT_EQ(Pavo("/ipp/strings/de.strings").status, 200);
}

TEST_F(SimServices, AnswersTransferGet) {
    const HttpAnswer answer = Post(TransferGet(kDeviceService));
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.HasHeader("Content-Type: application/soap+xml; charset=utf-8"));
    EXPECT_TRUE(Contains(answer, "<wprt:DeviceId>MFG:Veyra;MDL:Corvus C4200dn;"));
    EXPECT_TRUE(Contains(answer, "SN:VYR0C42A0017;</wprt:DeviceId>"));
    EXPECT_TRUE(Contains(answer, "xmlns:wprt="));
    EXPECT_TRUE(Contains(answer, "<wsa:RelatesTo>urn:uuid:one&amp;two</wsa:RelatesTo>"));
    EXPECT_TRUE(Contains(answer, "transfer/GetResponse</wsa:Action>"));
}

TEST_F(SimServices, AnswersGetPrinterElementsByName) {
    const HttpAnswer answer = Post(
        Envelope(kGetElements, "", "<p:R><p:Name>pri:PrinterStatus</p:Name><p:Name>Nonsense</p:Name></p:R>"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(Contains(answer, "<wprt:PrinterState>Idle</wprt:PrinterState>"));
    EXPECT_TRUE(Contains(answer, "Name=\"wprt:Nonsense\" Valid=\"false\""));
    EXPECT_FALSE(Contains(answer, "PrinterDescription"));
}

TEST_F(SimServices, RefusesWhatItDoesNotOffer) {
    struct {
        const char* name;
        std::string body;
        const char* fault;
    } const table[] = {
        {"an unknown action", Envelope("urn:nothing/Put", "", ""), "wsa:ActionNotSupported"},
        {"an unknown resource", TransferGet("urn:veyra:NoSuchService"), "wsa:DestinationUnreachable"},
        {"a resource outside", TransferGet("urn:../../values"), "wsa:DestinationUnreachable"},
        {"no XML", "hello", "wsa:InvalidMessageInformationHeader"},
        {"nothing", "", "wsa:InvalidMessageInformationHeader"},
        {"XML out of order", "<a><b></a></b>", "wsa:InvalidMessageInformationHeader"},
        {"an envelope that breaks off", TransferGet(kDeviceService).substr(0, 200),
         "wsa:InvalidMessageInformationHeader"},
        {"a document type", "<!DOCTYPE a>" + TransferGet(kDeviceService),
         "wsa:InvalidMessageInformationHeader"},
        {"no action", Envelope("", "", ""), "wsa:InvalidMessageInformationHeader"},
    };
    for (const auto& refused : table) {
        const HttpAnswer answer = Post(refused.body);
        EXPECT_EQ(answer.status, 400) << refused.name;
        EXPECT_TRUE(Contains(answer, refused.fault)) << refused.name << "\n" << answer.body;
    }
    EXPECT_EQ(Post(TransferGet(kDeviceService), "text/xml").status, 415);
    EXPECT_EQ(HttpGet(sim_->Address(), sim_->Port("3910"), "/").status, 405);
}

TEST_F(SimServices, CountsAndHarmsByAction) {
    sim_->Control("POST", "/sim/faults", "service=ws operation=GetPrinterElements status=503");
    EXPECT_EQ(Post(TransferGet(kDeviceService)).status, 200);
    EXPECT_EQ(Post(Envelope(kGetElements, "", "")).status, 503);
    const std::string counters = sim_->Control("GET", "/sim/counters");
    EXPECT_NE(counters.find("\"operations\":{\"Get\":1,\"GetPrinterElements\":1}"), std::string::npos)
        << counters;
}

}  // namespace
