#include "datamodel/binding/deferredproviders.h"

#include <utility>

#include "utilslib/disposable.h"

namespace Corvix {
namespace {

/// Makes the provider at the first call and forwards calls to it; without one every call fails.
template <class Provider>
class Deferred {
public:
    explicit Deferred(ProviderFactory<Provider> make) : make_(std::move(make)) {}

    template <class Call>
    HRESULT Ask(Call call) {
        // Made once, even when there turns out to be none: do not probe the device for every value.
        if (const auto make = std::exchange(make_, nullptr)) provider_ = make();
        return provider_ ? call(*provider_) : deviceNotConnected;
    }

private:
    ProviderFactory<Provider> make_;  // empty once it was called
    DisposablePtr<Provider> provider_;
};

class DeferredOidProvider final : public OIDProvider, public KyUtils::IDisposableImpl {
public:
    explicit DeferredOidProvider(ProviderFactory<OIDProvider> make) : provider_(std::move(make)) {}

    HRESULT GetValue(const wchar_t* oid, VARIANT* value) override {
        return provider_.Ask([&](OIDProvider& provider) { return provider.GetValue(oid, value); });
    }
    HRESULT GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                               VARIANT* value) override {
        return provider_.Ask([&](OIDProvider& provider) {
            return provider.GetNextOidAndValue(oid, nextOid, nextOidChars, value);
        });
    }
    HRESULT GetMultipleValues(const wchar_t** oids, VARIANT* values, unsigned count) override {
        return provider_.Ask(
            [&](OIDProvider& provider) { return provider.GetMultipleValues(oids, values, count); });
    }

private:
    Deferred<OIDProvider> provider_;
};

class DeferredXmlProvider final : public IXMLProvider, public KyUtils::IDisposableImpl {
public:
    DeferredXmlProvider(unsigned kind, ProviderFactory<IXMLProvider> make)
        : kind_(kind), provider_(std::move(make)) {}

    unsigned GetKind() const override { return kind_; }
    HRESULT GetValue(const wchar_t* uri, const wchar_t* xpath, wchar_t* text, unsigned textChars,
                     unsigned* neededChars, bool useCache, unsigned lifespan) override {
        return provider_.Ask([&](IXMLProvider& provider) {
            return provider.GetValue(uri, xpath, text, textChars, neededChars, useCache, lifespan);
        });
    }
    HRESULT GetContent(const wchar_t* uri, std::string& body) override {
        return provider_.Ask([&](IXMLProvider& provider) { return provider.GetContent(uri, body); });
    }
    HRESULT GetDOM(const wchar_t* uri, IXMLDOMDocument** document, bool useCache,
                   unsigned lifespan) override {
        return provider_.Ask(
            [&](IXMLProvider& provider) { return provider.GetDOM(uri, document, useCache, lifespan); });
    }

private:
    unsigned kind_;
    Deferred<IXMLProvider> provider_;
};

}  // namespace

DisposablePtr<OIDProvider> DeferOidProvider(ProviderFactory<OIDProvider> make) {
    return DisposablePtr<OIDProvider>::Share(new DeferredOidProvider(std::move(make)));
}

DisposablePtr<IXMLProvider> DeferXmlProvider(unsigned kind, ProviderFactory<IXMLProvider> make) {
    return DisposablePtr<IXMLProvider>::Share(new DeferredXmlProvider(kind, std::move(make)));
}

}  // namespace Corvix
