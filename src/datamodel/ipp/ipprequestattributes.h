/// The request record.
#pragma once

#include <optional>

#include "corvixdm/ipprequest.h"
#include "datamodel/ipp/storedtext.h"
#include "utilslib/disposable.h"

namespace Corvix {

class IPPRequestAttributes final : public IPPRequestBase, public KyUtils::IDisposableImpl {
public:
    /// A record that holds one reference, owned by the caller.
    static IPPRequestAttributes* Create();

    void SetPrinterURI(const char* uri) override { printerUri_.Set(uri); }
    const char* GetPrinterURI() const override { return printerUri_.Get(); }
    void SetCopy(unsigned copies) override { copies_ = copies; }
    unsigned GetCopy() const override { return copies_; }
    void SetRequestingUserName(const char* userName) override { requestingUserName_.Set(userName); }
    const char* GetRequestingUserName() const override { return requestingUserName_.Get(); }
    void SetDocumentUri(const char* uri) override { documentUri_.Set(uri); }
    const char* GetDocumentUri() const override { return documentUri_.Get(); }
    void SetJobName(const char* name) override { jobName_.Set(name); }
    const char* GetJobName() const override { return jobName_.Get(); }
    void SetIPPAttributeFidelity(bool fidelity) override { fidelity_ = fidelity; }
    bool GetIPPAttributeFidelity() const override { return fidelity_; }
    void SetDocumentName(const char* name) override { documentName_.Set(name); }
    const char* GetDocumentName() const override { return documentName_.Get(); }
    void SetMultipleDocHandling(int handling) override { multipleDocHandling_ = handling; }
    int GetMultipleDocHandling() const override { return multipleDocHandling_; }
    void SetPrintingSides(int sides) override { sides_ = sides; }
    int GetPrintingSides() const override { return sides_; }
    void SetOrientationRequested(int orientation) override { orientation_ = orientation; }
    int GetOrientationRequested() const override { return orientation_; }
    void SetPrinterResolution(unsigned crossFeed, unsigned feed) override;
    void GetPrinterResolution(unsigned* crossFeed, unsigned* feed) const override;
    void SetPrinterResolutionUnits(int units) override { resolutionUnits_ = units; }
    int GetPrinterResolutionUnits() const override { return resolutionUnits_; }
    void SetPrintQuality(int quality) override { quality_ = quality; }
    int GetPrintQuality() const override { return quality_; }
    void SetOutputMode(int mode) override { outputMode_ = mode; }
    int GetOutputMode() const override { return outputMode_; }
    void SetPrintContentOptimize(int optimize) override { contentOptimize_ = optimize; }
    int GetPrintContentOptimize() const override { return contentOptimize_; }
    void SetMarginsPreApplied(bool applied) override { marginsPreApplied_ = applied; }
    bool GetMarginsPreApplied() const override { return marginsPreApplied_; }
    void SetJobURI(const char* uri) override { jobUri_.Set(uri); }
    const char* GetJobURI() const override { return jobUri_.Get(); }
    void SetJobID(unsigned id) override { jobId_ = id; }
    unsigned GetJobID() const override { return jobId_; }
    void SetLastDocument(bool last) override { lastDocument_ = last; }
    bool GetLastDocument() const override { return lastDocument_.value_or(false); }
    bool HasLastDocument() const override { return lastDocument_.has_value(); }
    void SetUsername(const wchar_t* userName) override { userName_.Set(userName); }
    const wchar_t* GetUsername() const override { return userName_.Get(); }
    void SetPassword(const wchar_t* password) override { password_.Set(password); }
    const wchar_t* GetPassword() const override { return password_.Get(); }
    void AddExtraHTTPHeader(const wchar_t* name, const wchar_t* value) override;
    HRESULT AddIPPRequest(unsigned type, const unsigned char* bytes, int size) override;
    HRESULT AddIPPRequest(unsigned type, unsigned char tag, const char* name, const unsigned char* value,
                          int size) override;
    void SetAuthorization(const wchar_t* authorization) override { authorization_.Set(authorization); }
    const wchar_t* GetAuthorization() const override { return authorization_.Get(); }
    const HTTPHeaderList& GetExtraHTTPHeader() const override { return extraHeaders_; }
    const std::vector<IPPAttributeBlob>& GetBlobVector() const override { return blobs_; }
    const std::vector<std::string>& GetAttributesVector() const override { return attributeNames_; }

private:
    IPPRequestAttributes() = default;

    StoredText<char> printerUri_;
    StoredText<char> requestingUserName_;
    StoredText<char> documentUri_;
    StoredText<char> jobName_;
    StoredText<char> documentName_;
    StoredText<char> jobUri_;
    StoredText<wchar_t> userName_;
    StoredText<wchar_t> password_;
    StoredText<wchar_t> authorization_;
    unsigned copies_ = 1;
    unsigned jobId_ = 0;
    unsigned crossFeedResolution_ = 0;
    unsigned feedResolution_ = 0;
    int resolutionUnits_ = static_cast<int>(IPPResolutionUnits::DotsPerInch);
    int multipleDocHandling_ = static_cast<int>(IPPMultipleDocHandling::NotSent);
    int sides_ = static_cast<int>(IPPSides::NotSent);
    int orientation_ = 2;
    int quality_ = 2;
    int outputMode_ = static_cast<int>(IPPOutputMode::Color);
    int contentOptimize_ = static_cast<int>(IPPContentOptimize::NotSent);
    bool fidelity_ = false;
    bool marginsPreApplied_ = false;
    std::optional<bool> lastDocument_;
    HTTPHeaderList extraHeaders_;
    std::vector<IPPAttributeBlob> blobs_;
    std::vector<std::string> attributeNames_;
};

}  // namespace Corvix
