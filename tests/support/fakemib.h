// An SNMP agent of the test's own behind the real interface: answers from a table, writes down what it was
// asked, and errs where it is told to.
#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "corvixdm/transport.h"
#include "support/bytesvalue.h"
#include "support/faketransport.h"
#include "utilslib/com.h"

namespace CorvixTest {

using MibValue = std::variant<long, std::wstring, std::vector<unsigned char>>;

/// The arcs of an object identifier; std::map then has SNMP's order.
inline std::vector<unsigned long> ArcsOf(const std::wstring& oid) {
    std::vector<unsigned long> arcs;
    size_t at = 0;
    while (at < oid.size()) {
        size_t used = 0;
        arcs.push_back(std::stoul(oid.substr(at), &used));
        at += used + 1;
    }
    return arcs;
}

/// What the agent has, and what it was asked. Shared by the test and the connection.
struct FakeAgent {
    struct Object {
        std::wstring oid;
        MibValue value;
    };

    std::map<std::vector<unsigned long>, Object> objects;
    /// When set, every get-next is answered with what this makes of the OID.
    std::function<Object(const std::wstring&)> next;
    HRESULT absent = HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
    HRESULT setResult = S_OK;
    int failingCall = 0;  ///< which call fails, counted from 1; 0 is none
    HRESULT failure = HRESULT_FROM_WIN32(WSAETIMEDOUT);

    std::vector<std::wstring> calls;
    std::vector<unsigned> rooms;  ///< the room for the name at each get-next

    void Add(const std::wstring& oid, MibValue value) { objects[ArcsOf(oid)] = {oid, std::move(value)}; }
    /// Notes a call; its result unless the table decides.
    HRESULT Call(std::wstring call) {
        calls.push_back(std::move(call));
        return static_cast<int>(calls.size()) == failingCall ? failure : S_OK;
    }
    size_t CallsOf(const std::wstring& kind) const {
        size_t count = 0;
        for (const std::wstring& call : calls)
            count += call.rfind(kind + L" ", 0) == 0;
        return count;
    }
    const Object* Find(const std::wstring& oid) const {
        const auto found = objects.find(ArcsOf(oid));
        return found == objects.end() ? nullptr : &found->second;
    }
    std::optional<Object> After(const std::wstring& oid) const {
        if (next) return next(oid);
        const auto found = objects.upper_bound(ArcsOf(oid));
        if (found == objects.end()) return std::nullopt;
        return found->second;
    }
};
using FakeAgentPtr = std::shared_ptr<FakeAgent>;

inline VARIANT ToVariant(const MibValue& value) {
    if (const long* number = std::get_if<long>(&value)) return KyUtils::Variant::FromI4(*number).Release();
    if (const auto* text = std::get_if<std::wstring>(&value))
        return KyUtils::Variant::FromText(*text).Release();
    return BytesValue(std::get<std::vector<unsigned char>>(value)).Release();
}

class FakeMibConnection final : public Counted<Corvix::MIBConnection> {
public:
    explicit FakeMibConnection(FakeAgentPtr agent) : agent_(std::move(agent)) {}

    HRESULT GetValue(const wchar_t* oid, VARIANT* value) override {
        const HRESULT result = agent_->Call(std::wstring(L"get ") + oid);
        return FAILED(result) ? result : Read(oid, value);
    }
    HRESULT GetMultipleValues(const wchar_t** oids, VARIANT* values, unsigned count) override {
        std::wstring call = L"many";
        for (unsigned i = 0; i < count; ++i)
            call += std::wstring(L" ") + oids[i];
        HRESULT result = agent_->Call(call);
        for (unsigned i = 0; i < count && SUCCEEDED(result); ++i)
            if (!agent_->Find(oids[i])) result = agent_->absent;
        for (unsigned i = 0; i < count && SUCCEEDED(result); ++i)
            Read(oids[i], &values[i]);
        return result;
    }
    HRESULT GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                               VARIANT* value) override {
        agent_->rooms.push_back(nextOidChars);
        const HRESULT result = agent_->Call(std::wstring(L"next ") + oid);
        if (FAILED(result)) return result;
        const std::optional<FakeAgent::Object> after = agent_->After(oid);
        if (!after) return agent_->absent;
        if (after->oid.size() >= nextOidChars) return E_OUTOFMEMORY;
        after->oid.copy(nextOid, after->oid.size());
        nextOid[after->oid.size()] = L'\0';
        *value = ToVariant(after->value);
        return S_OK;
    }
    HRESULT SetValue(const wchar_t* oid, const VARIANT& value) override {
        const std::wstring text = value.vt == VT_BSTR ? value.bstrVal : std::to_wstring(value.lVal);
        const HRESULT result =
            agent_->Call(std::wstring(L"set ") + oid + L" " + std::to_wstring(value.vt) + L" " + text);
        return FAILED(result) ? result : agent_->setResult;
    }
    void SetTimeout(unsigned long, unsigned) override {}
    unsigned long GetLastErrorStatus() override { return 0; }

private:
    HRESULT Read(const wchar_t* oid, VARIANT* value) {
        const FakeAgent::Object* object = *oid ? agent_->Find(oid) : nullptr;
        if (!object) return agent_->absent;
        *value = ToVariant(object->value);
        return S_OK;
    }

    FakeAgentPtr agent_;
};

/// Gives a fake device an SNMP agent.
inline void AttachAgent(FakeDevice& device, FakeAgentPtr agent) {
    device.connectMib = [agent = std::move(agent)] { return new FakeMibConnection(agent); };
}

}  // namespace CorvixTest
