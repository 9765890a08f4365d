// A transport of one's own: the device is a folder of saved documents. offline FOLDER MAP ITEM...
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "corvixdm/corvixdm.h"
#include "transport/refcounted.h"

using CorvixTransport::MakeRefCounted;
using CorvixTransport::RefCounted;

class FileResponse final : public RefCounted<Corvix::HTTPResponse> {
public:
    explicit FileResponse(std::ifstream file)
        : status_(file ? 200 : 404), body_(std::istreambuf_iterator<char>(file), {}) {}
    unsigned long GetStatusCode() override { return status_; }
    const wchar_t* GetHeader(const wchar_t*) override { return nullptr; }
    const wchar_t* GetContentType() override { return nullptr; }
    unsigned long GetBodyLength() override { return static_cast<unsigned long>(body_.size()); }
    const unsigned char* GetBody() override { return reinterpret_cast<const unsigned char*>(body_.c_str()); }
    const wchar_t* GetReasonPhrase() override { return nullptr; }

private:
    unsigned long status_;
    std::string body_;
};

class FileRequest final : public RefCounted<Corvix::HTTPRequest> {
public:
    explicit FileRequest(std::filesystem::path folder) : file_(std::move(folder)) {}
    void SetURI(const wchar_t* path) override { file_ += path; }
    HRESULT SetMethod(const wchar_t*) override { return S_OK; }
    HRESULT Send(const unsigned char*, unsigned long) override { return S_OK; }
    HRESULT GetResponse(Corvix::HTTPResponse** response) override {
        *response = MakeRefCounted<FileResponse>(std::ifstream(file_, std::ios::binary)).Release();
        return S_OK;
    }
    unsigned long GetLastErrorCode() override { return 0; }
    // A folder asks for no password and keeps nobody waiting.
    void SetUserName(const wchar_t*) override {}
    void SetPassword(const wchar_t*) override {}
    void AddHeader(const wchar_t*, const wchar_t*) override {}
    void SetContentType(const wchar_t*) override {}
    void SetRequestParameter(unsigned long) override {}
    void Cancel() override {}
    void SetTimeout(unsigned long) override {}

private:
    std::filesystem::path file_;
};

class FolderAddress final : public RefCounted<Corvix::Address> {
public:
    explicit FolderAddress(std::filesystem::path folder) : folder_(std::move(folder)) {}
    HRESULT CreateHTTPRequest(Corvix::HTTPRequest** request, unsigned long) override {
        *request = MakeRefCounted<FileRequest>(folder_).Release();
        return S_OK;
    }
    // Without SNMP the library passes over the OID maps of a document.
    HRESULT CreateMIBConnection(Corvix::MIBConnection**) override { return E_NOTIMPL; }
    const wchar_t* GetHostName() override { return L"offline"; }
    const wchar_t* GetPort() override { return L""; }
    const wchar_t* GetDisplayName() override { return nullptr; }
    unsigned long long GetConnectionParameter() override { return 0; }
    void SetHostName(const wchar_t*) override {}
    void SetCredentials(const wchar_t*, const wchar_t*) override {}
    void SetTimeout(unsigned long) override {}
    unsigned long GetTimeout() override { return 0; }
    void SetPort(const wchar_t*) override {}
    void SetSecure(bool) override {}
    bool IsSecure() override { return false; }
    void SetMaximumBodyLength(unsigned long) override {}
    bool IsSameDevice(Corvix::Address* other) override { return other == this; }

private:
    std::filesystem::path folder_;
};

int wmain(int count, wchar_t** arguments) {
    if (count < 3) return 2;
    const auto device = MakeRefCounted<FolderAddress>(arguments[1]);
    Corvix::DisposablePtr<Corvix::DataCollection> values;
    if (CreateDataCollectionFromFile(device.Get(), arguments[2], values.Receive(), nullptr) != S_OK) return 1;
    for (int i = 3; i < count; ++i) {
        VARIANT value = {};
        if (values->GetValue(arguments[i], &value) == S_OK)
            std::printf("%ls: %ls\n", arguments[i], value.bstrVal);
        VariantClear(&value);
    }
    return 0;
}
