// Print jobs, sent through the DLL and the reference transport to a real printer.
#include <windows.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "corvixdm/corvixdm.h"
#include "support/jobeventturn.h"
#include "transport/nettransport.h"

namespace CorvixTest {
namespace {

using Corvix::DisposablePtr;

constexpr size_t pieceLength = 64 * 1024;
constexpr size_t documentLength = 10 * pieceLength + 4711;
const std::string accepted = "0";
const std::wstring canceled = L"7";
const std::wstring completed = L"9";

/// A path of the machine that Wine runs on.
std::filesystem::path HostPath(const char* variable) {
    const char* path = std::getenv(variable);
    return std::string("Z:") + (path ? path : "");
}

/// A document with every byte in it, chunk frames and line ends of both kinds included.
std::string MakePdf(unsigned seed) {
    std::string pdf = "%PDF-1.4\n1 0 obj\n<</Length 0>>\nstream\r\n5\r\nhello\r\n0\r\n\r\n";
    std::minstd_rand random(seed);
    while (pdf.size() < documentLength)
        pdf += static_cast<char>(random() >> 8);
    return pdf + "\nendstream\nendobj\ntrailer\n<<>>\n%%EOF\n";
}

DisposablePtr<Corvix::IPPProvider> OpenPrinter() {
    CorvixTransport::NetAddressOptions options;
    options.host = L"127.0.0.1";
    options.hostName = L"USB001";  // nobody listens to the probe
    options.portMap.MapTcp(631, static_cast<unsigned short>(std::atoi(std::getenv("CORVIX_IPP_PORT"))));
    const DisposablePtr<Corvix::KyNetAddress> address(CorvixTransport::CreateNetAddress(options));
    return DisposablePtr<Corvix::IPPProvider>(CreateIPPProvider(address.Get(), "/ipp/print"));
}

/// One job, its records and a provider of its own.
class Job {
public:
    Job() {
        request->SetRequestingUserName("ann");
        request->SetJobName("letter");
    }

    HRESULT Create() {
        const HRESULT created = printer->CreateJob(request.Get(), response.Get());
        if (created != S_OK || Status() != accepted) return created;
        request->SetJobID(static_cast<unsigned>(std::stoul(Id())));
        request->SetLastDocument(true);
        return created;
    }
    HRESULT Begin(std::string_view piece) {
        return streams ? printer->PrintJob(request.Get(), response.Get(), Bytes(piece), Length(piece), 0)
                       : printer->SendDocument(request.Get(), response.Get(), Bytes(piece), Length(piece));
    }
    /// An empty piece ends the document.
    HRESULT Write(std::string_view piece) {
        return streams
                   ? printer->PrintJobWrite(request.Get(), response.Get(), Bytes(piece), Length(piece))
                   : printer->SendDocumentWrite(request.Get(), response.Get(), Bytes(piece), Length(piece));
    }
    HRESULT WriteAll(std::string_view rest) {
        HRESULT result = S_OK;
        while (result == S_OK && !rest.empty()) {
            result = Write(rest.substr(0, pieceLength));
            rest.remove_prefix(std::min(pieceLength, rest.size()));
        }
        return result;
    }
    /// The whole job, in whichever way.
    HRESULT Print(const std::string& document) {
        if (!streams && (Create() != S_OK || Status() != accepted)) return E_FAIL;
        HRESULT result = Begin(std::string_view(document).substr(0, pieceLength));
        if (result == S_OK) result = WriteAll(std::string_view(document).substr(pieceLength));
        return result == S_OK ? Write({}) : result;
    }
    HRESULT Cancel(const std::string& id) {
        const DisposablePtr<Corvix::IPPRequestBase> cancel(CreateIPPRequest());
        cancel->SetRequestingUserName("ann");
        cancel->SetJobID(static_cast<unsigned>(std::stoul(id)));
        const DisposablePtr<Corvix::IPPResponseBase> answer(CreateIPPResponse());
        const HRESULT result = printer->CancelJob(cancel.Get(), answer.Get());
        return result == S_OK && answer->GetSuccessStatus() != accepted ? E_FAIL : result;
    }

    std::string Status() const { return Text(response->GetSuccessStatus()); }
    std::string Id() const { return Text(response->GetJobID()); }
    std::string Uri() const { return Text(response->GetJobURI()); }
    std::wstring Attributes(const char* names) const { return Attributes(names, Uri()); }
    std::wstring Attributes(const char* names, const std::string& uri) const {
        VARIANT value = {};
        const HRESULT read = printer->GetIPPValue(names, 1, &value, uri.c_str(), nullptr, 0, 0, " ");
        const std::wstring text = read == S_OK && value.vt == VT_BSTR ? value.bstrVal : L"";
        VariantClear(&value);
        return text;
    }
    /// Asks until the job is in a state, and no longer than it can still get there.
    std::wstring Await(const std::wstring& wanted) const {
        std::wstring state;
        while ((state = Attributes("job-state")) != wanted && !state.empty() && state < canceled)
            Sleep(10);
        return state;
    }

    bool streams = true;
    const DisposablePtr<Corvix::IPPProvider> printer = OpenPrinter();
    const DisposablePtr<Corvix::IPPRequestBase> request{CreateIPPRequest()};
    const DisposablePtr<Corvix::IPPResponseBase> response{CreateIPPResponse()};

private:
    static const unsigned char* Bytes(std::string_view piece) {
        return reinterpret_cast<const unsigned char*>(piece.data());
    }
    static int Length(std::string_view piece) { return static_cast<int>(piece.size()); }
    static std::string Text(const char* text) { return text ? text : ""; }
};

/// What the printer kept of a job.
std::string KeptDocument(const std::string& id) {
    for (const auto& entry : std::filesystem::directory_iterator(HostPath("CORVIX_SPOOL"))) {
        if (entry.path().filename().string().rfind(id + "-", 0) != 0) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    return "(nothing)";
}

class RealPrinting : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        job_.streams = GetParam();
        ASSERT_TRUE(job_.printer) << GetLastError();
    }

    const JobEventTurn turn_;
    Job job_;
    const std::string document_ = MakePdf(GetParam() ? 1 : 2);
};

TEST_P(RealPrinting, ADocumentArrivesByteForByteAndIsFollowedToItsEnd) {
    ASSERT_EQ(job_.Print(document_), S_OK);
    EXPECT_EQ(job_.Status(), accepted);
    EXPECT_TRUE(KeptDocument(job_.Id()) == document_);
    EXPECT_EQ(job_.Await(completed), completed);
    EXPECT_EQ(job_.Attributes("job-state,job-state-reasons,job-name"),
              L"9,job-completed-successfully,letter");
    EXPECT_EQ(job_.Cancel(job_.Id()), E_FAIL) << "the printer refuses to cancel what is over";
}

TEST_P(RealPrinting, AJobCancelledFromElsewhereHalfWayEndsAsCanceled) {
    Job before;
    before.streams = false;
    ASSERT_EQ(before.Print(document_), S_OK);
    EXPECT_EQ(before.Await(completed), completed);
    const std::string id = std::to_string(std::stoul(before.Id()) + 1);
    const std::string uri = before.Uri().substr(0, before.Uri().rfind('/') + 1) + id;
    ASSERT_TRUE(job_.streams || job_.Create() == S_OK);
    ASSERT_EQ(job_.Begin(document_.substr(0, pieceLength)), S_OK);
    ASSERT_EQ(job_.WriteAll(document_.substr(pieceLength, documentLength / 2)), S_OK);
    while (before.Attributes("job-state", uri).empty())
        Sleep(10);  // the printer takes its time to see the job in what it received
    EXPECT_EQ(before.Cancel(id), S_OK);
    job_.Write({});
    EXPECT_EQ(job_.Id(), id);
    EXPECT_EQ(job_.Await(canceled), canceled);
}

INSTANTIATE_TEST_SUITE_P(Ways, RealPrinting, testing::Bool(),
                         [](const auto& way) { return way.param ? "Stream" : "Documents"; });

}  // namespace
}  // namespace CorvixTest
