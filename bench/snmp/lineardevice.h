// An agent without an end: after every object comes the next number.
#pragma once

#include <memory>
#include <string>

#include "corvixdm/corvixdm.h"
#include "support/faketransport.h"

namespace CorvixBench {

struct Calls {
    int gets = 0;
    int nexts = 0;
    int groups = 0;
};

class LinearConnection final : public CorvixTest::Counted<Corvix::MIBConnection> {
public:
    explicit LinearConnection(std::shared_ptr<Calls> calls) : calls_(std::move(calls)) {}

    HRESULT GetValue(const wchar_t*, VARIANT* value) override {
        ++calls_->gets;
        return Answer(value);
    }
    HRESULT GetMultipleValues(const wchar_t**, VARIANT* values, unsigned count) override {
        ++calls_->groups;
        for (unsigned i = 0; i < count; ++i)
            Answer(&values[i]);
        return S_OK;
    }
    HRESULT GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                               VARIANT* value) override {
        const int number = std::wcsncmp(oid, root, rootLength) == 0 ? _wtoi(oid + rootLength) + 1 : 1;
        const std::wstring next = root + std::to_wstring(number);
        if (next.size() >= nextOidChars) return E_OUTOFMEMORY;
        ++calls_->nexts;
        next.copy(nextOid, next.size());
        nextOid[next.size()] = L'\0';
        return Answer(value);
    }
    HRESULT SetValue(const wchar_t*, const VARIANT&) override { return E_NOTIMPL; }
    void SetTimeout(unsigned long, unsigned) override {}
    unsigned long GetLastErrorStatus() override { return 0; }

    static constexpr const wchar_t* root = L"1.3.6.1.4.1.32473.9.";

private:
    static constexpr size_t rootLength = 20;

    static HRESULT Answer(VARIANT* value) {
        value->vt = VT_BSTR;
        value->bstrVal = SysAllocString(L"a value");
        return S_OK;
    }

    std::shared_ptr<Calls> calls_;
};

}  // namespace CorvixBench
