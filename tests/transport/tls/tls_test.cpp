// TLS against a real server, which run.sh starts: its certificates and its ports come in the environment.
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "transport/httptest.h"
#include "transport/tls/certificate.h"

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

class Tls : public HttpTest {
protected:
    // A secure address whose port 443 leads to the server that shows this certificate.
    void Connect(const char* server, const wchar_t* host = L"127.0.0.1") {
        address_.Reset();
        options_.host = host;
        options_.secure = true;
        options_.portMap.MapTcp(443, static_cast<unsigned short>(std::stoi(Environment(server))));
        options_.observer = [this](const ExchangeRecord& record) { records_.push_back(record); };
    }

    Outcome Get(unsigned long flags) {
        const RequestPtr request = MakeRequest(L"/answer", nullptr, 443);
        request->SetRequestParameter(flags);
        const Outcome outcome = Finish(*request);
        EXPECT_EQ(outcome.result, HRESULT_FROM_WIN32(outcome.error));
        return outcome;
    }
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
    const std::pair<unsigned long, unsigned long> cases[] = {
        {0, ERROR_WINHTTP_SECURE_INVALID_CA},
        {0x800000, ERROR_WINHTTP_SECURE_INVALID_CA},
        {ignoreName, ERROR_WINHTTP_SECURE_INVALID_CA},
        {ignoreDate, ERROR_WINHTTP_SECURE_INVALID_CA},
        {ignoreName | ignoreDate, 0},
        {libraryDefault, 0},
    };
    for (const auto& [flags, error] : cases) {
        Connect("CORVIX_TLS_SELF_SIGNED");
        const Outcome outcome = Get(flags);
        EXPECT_EQ(outcome.error, error) << std::hex << flags;
        EXPECT_EQ(outcome.status, error ? 0u : 200u);
        EXPECT_EQ(outcome.body.size(), error ? 0u : 300000u);
    }
}

// The server talks to one client at a time, so that the strict request would wait for the lenient one's
// connection to go: all that matters is that it does not take it over.
TEST_F(Tls, NeverLetsAStrictRequestRideOnALenientConnection) {
    Connect("CORVIX_TLS_SELF_SIGNED");
    EXPECT_EQ(Get(libraryDefault).status, 200u);
    Address().SetTimeout(200);
    EXPECT_NE(Get(0).error, 0u);
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
    for (const auto& test : cases) {
        Connect(test.server, test.host);
        EXPECT_EQ(Get(test.flags).error, test.error) << test.server << test.flags;
    }
}

// The server says "100 Continue" and its answer at once and writes what it receives to a file.
TEST_F(Tls, StreamsABodyToTheByte) {
    Connect("CORVIX_TLS_SINK");
    const auto request = MakeStreamedRequest(0, 443);
    request->SetRequestParameter(libraryDefault);
    request->AddHeader(L"Transfer-Encoding", L"chunked");
    std::string sent;
    for (int i = 0; i < 64; ++i) {
        const std::string piece = "10000\r\n" + std::string(65536, static_cast<char>('A' + i)) + "\r\n";
        ASSERT_EQ(Write(*request, piece), S_OK) << i;
        sent += piece;
    }
    ASSERT_EQ(Write(*request, "0\r\n\r\n", true), S_OK);
    EXPECT_EQ(Finish(*request).status, 200u);
    std::ofstream(Environment("CORVIX_TLS_EXPECTED"), std::ios::binary) << sent << "0\r\n\r\n";
}

TEST(Leniency, ComesFromTheFlagsOfTheRequest) {
    EXPECT_EQ(LeniencyOf(0), 0u);
    EXPECT_EQ(LeniencyOf(0xffffffff & ~(ignoreName | ignoreDate)), 0u);
    EXPECT_EQ(LeniencyOf(libraryDefault), 0x3100u);
}

}  // namespace
}  // namespace CorvixTransport
