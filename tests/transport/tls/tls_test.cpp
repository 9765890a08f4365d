// TLS against a real server, which run.sh starts: its certificates and its ports come in the environment.
#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "transport/nettransport.h"
#include "transport/tls/certificate.h"

#include <winhttp.h>

namespace CorvixTransport {
namespace {

constexpr unsigned long ignoreName = 0x1000;
constexpr unsigned long ignoreDate = 0x2000;
constexpr unsigned long libraryDefault = 0x803100;

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string FileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct Outcome {
    unsigned long error = 0;
    unsigned long status = 0;
    std::string body;
};

class Tls : public testing::Test {
protected:
    // A secure address whose port 443 leads to the server that shows this certificate.
    Corvix::DisposablePtr<Corvix::KyNetAddress> Connect(const char* server, const wchar_t* host) {
        NetAddressOptions options;
        options.host = host;
        options.secure = true;
        options.timeoutMilliseconds = 10000;
        const int port = std::atoi(Environment(server).c_str());
        options.portMap.MapTcp(443, static_cast<unsigned short>(port));
        options.observer = [this](const ExchangeRecord& record) { records_.push_back(record); };
        return Corvix::DisposablePtr<Corvix::KyNetAddress>(CreateNetAddress(options));
    }

    static Outcome Get(Corvix::KyNetAddress& address, unsigned long flags) {
        Corvix::DisposablePtr<Corvix::HTTPRequest> request;
        EXPECT_EQ(address.CreateHTTPRequest(request.Receive(), 443), S_OK);
        request->SetURI(L"/answer");
        request->SetRequestParameter(flags);
        Corvix::DisposablePtr<Corvix::HTTPResponse> response;
        Outcome outcome;
        const HRESULT result = request->GetResponse(response.Receive());
        outcome.error = request->GetLastErrorCode();
        EXPECT_EQ(result, HRESULT_FROM_WIN32(outcome.error));
        if (!response) return outcome;
        outcome.status = response->GetStatusCode();
        if (response->GetBody())
            outcome.body.assign(reinterpret_cast<const char*>(response->GetBody()),
                                response->GetBodyLength());
        return outcome;
    }

    std::vector<ExchangeRecord> records_;
};

// Trusts the tests' own certificate authority while it lives.
class TrustedAuthority {
public:
    TrustedAuthority()
        : store_(CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root")) {
        const std::string der = FileBytes(Environment("CORVIX_TLS_AUTHORITY"));
        CertAddEncodedCertificateToStore(store_, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(der.data()),
                                         static_cast<DWORD>(der.size()), CERT_STORE_ADD_REPLACE_EXISTING,
                                         &certificate_);
    }
    ~TrustedAuthority() {
        if (certificate_) CertDeleteCertificateFromStore(certificate_);
        CertCloseStore(store_, 0);
    }
    TrustedAuthority(const TrustedAuthority&) = delete;
    TrustedAuthority& operator=(const TrustedAuthority&) = delete;

    bool IsTrusted() const { return certificate_ != nullptr; }

private:
    HCERTSTORE store_;
    PCCERT_CONTEXT certificate_ = nullptr;
};

TEST_F(Tls, AcceptsASelfSignedCertificateOnlyWhenToldTwice) {
    const struct {
        unsigned long flags;
        unsigned long error;
    } cases[] = {
        {0, ERROR_WINHTTP_SECURE_INVALID_CA},
        {0x800000, ERROR_WINHTTP_SECURE_INVALID_CA},
        {ignoreName, ERROR_WINHTTP_SECURE_INVALID_CA},
        {ignoreDate, ERROR_WINHTTP_SECURE_INVALID_CA},
        {ignoreName | ignoreDate, 0},
        {libraryDefault, 0},
    };
    for (const auto& test : cases) {
        const Outcome outcome = Get(*Connect("CORVIX_TLS_SELF_SIGNED", L"127.0.0.1"), test.flags);
        EXPECT_EQ(outcome.error, test.error) << std::hex << test.flags;
        EXPECT_EQ(outcome.status, test.error ? 0u : 200u);
        EXPECT_EQ(outcome.body.size(), test.error ? 0u : 300000u);
    }
}

// The server talks to one client at a time, so that the strict request would wait for the lenient one's
// connection to go: all that matters is that it does not take it over.
TEST_F(Tls, NeverLetsAStrictRequestRideOnALenientConnection) {
    const auto address = Connect("CORVIX_TLS_SELF_SIGNED", L"127.0.0.1");
    EXPECT_EQ(Get(*address, libraryDefault).status, 200u);
    address->SetTimeout(200);
    EXPECT_NE(Get(*address, 0).error, 0u);
    ASSERT_EQ(records_.size(), 2u);
    EXPECT_FALSE(records_[1].reusedConnection);
}

TEST_F(Tls, ChecksNameAndDateOfATrustedCertificate) {
    const TrustedAuthority authority;
    ASSERT_TRUE(authority.IsTrusted());
    const struct {
        const char* server;
        const wchar_t* host;
        unsigned long flags;
        unsigned long error;
    } cases[] = {
        {"CORVIX_TLS_TRUSTED", L"localhost", 0, 0},
        {"CORVIX_TLS_TRUSTED", L"127.0.0.1", 0, ERROR_WINHTTP_SECURE_CERT_CN_INVALID},
        {"CORVIX_TLS_TRUSTED", L"127.0.0.1", ignoreDate, ERROR_WINHTTP_SECURE_CERT_CN_INVALID},
        {"CORVIX_TLS_TRUSTED", L"127.0.0.1", ignoreName, 0},
        {"CORVIX_TLS_EXPIRED", L"localhost", 0, ERROR_WINHTTP_SECURE_CERT_DATE_INVALID},
        {"CORVIX_TLS_EXPIRED", L"localhost", ignoreName, ERROR_WINHTTP_SECURE_CERT_DATE_INVALID},
        {"CORVIX_TLS_EXPIRED", L"localhost", ignoreDate, 0},
    };
    for (const auto& test : cases)
        EXPECT_EQ(Get(*Connect(test.server, test.host), test.flags).error, test.error)
            << test.server << test.flags;
}

// The server says "100 Continue" and its answer at once and writes what it receives to a file.
TEST_F(Tls, StreamsABodyToTheByte) {
    const auto address = Connect("CORVIX_TLS_SINK", L"127.0.0.1");
    Corvix::DisposablePtr<Corvix::HTTPRequest> request;
    ASSERT_EQ(address->CreateHTTPRequest(request.Receive(), 443), S_OK);
    auto* streamed = dynamic_cast<Corvix::KyHTTPRequestEx*>(request.Get());
    ASSERT_TRUE(streamed);
    request->SetRequestParameter(libraryDefault);
    request->SetMethod(L"POST");
    request->SetURI(L"/print");
    request->AddHeader(L"Transfer-Encoding", L"chunked");
    std::string sent;
    const auto write = [&](const std::string& piece, bool last) {
        sent += piece;
        return streamed->Write(reinterpret_cast<const unsigned char*>(piece.data()),
                               static_cast<unsigned long>(piece.size()), last);
    };
    for (int i = 0; i < 64; ++i)
        ASSERT_EQ(write("10000\r\n" + std::string(65536, static_cast<char>('A' + i)) + "\r\n", false), S_OK)
            << i;
    ASSERT_EQ(write("0\r\n\r\n", true), S_OK);
    EXPECT_EQ(streamed->GetResult(), S_OK);
    Corvix::DisposablePtr<Corvix::HTTPResponse> response;
    ASSERT_EQ(request->GetResponse(response.Receive()), S_OK);
    EXPECT_EQ(response->GetStatusCode(), 200u);
    std::ofstream(Environment("CORVIX_TLS_EXPECTED"), std::ios::binary) << sent;
}

TEST(Leniency, ComesFromTheFlagsOfTheRequest) {
    EXPECT_EQ(LeniencyOf(0), 0u);
    EXPECT_EQ(LeniencyOf(0xffffffff & ~(ignoreName | ignoreDate)), 0u);
    EXPECT_EQ(LeniencyOf(libraryDefault), 0x3100u);
}

}  // namespace
}  // namespace CorvixTransport
