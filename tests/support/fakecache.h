// A cache provider of a caller's own.
#pragma once

#include <map>
#include <string>

#include "corvixdm/cacheprovider.h"
#include "support/faketransport.h"

namespace CorvixTest {

/// Writes down what it is given at the end.
class FakeCache final : public Counted<Corvix::ICacheProvider> {
public:
    struct Record {
        std::wstring text;  ///< of a VT_BSTR
        unsigned long long timeStamp;
        unsigned lifespan;
    };
    std::map<std::wstring, Record> written;
    int writeBacks = 0;
    void (*onWriteBack)() = nullptr;

    HRESULT GetDataValue(const wchar_t*, VARIANT*) override { return S_FALSE; }
    HRESULT SetDataValue(const wchar_t*, const VARIANT&, unsigned long long) override { return S_FALSE; }
    HRESULT SetDataValues(const Corvix::CachedValueMap* values) override {
        ++writeBacks;
        for (const auto& [name, record] : *values) {
            const bool isText = record.value.vt == VT_BSTR;
            written[name] = {isText ? record.value.bstrVal : L"", record.timeStamp, record.lifespan};
        }
        if (onWriteBack) onWriteBack();
        return S_OK;
    }
};

}  // namespace CorvixTest
