/// A whole answer behind the public interface.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "corvixdm/disposableptr.h"
#include "corvixdm/ippattributes.h"
#include "datamodel/ipp/exchange/requestvalues.h"
#include "utilslib/disposable.h"
#include "wire/ipp/message.h"

namespace Corvix {

class IPPAttributesImpl final : public IPPAttributes, public KyUtils::IDisposableImpl {
public:
    static DisposablePtr<IPPAttributes> Create(std::shared_ptr<const Ipp::Message> response);
    static DisposablePtr<IPPAttributes> Read(std::string_view body);
    /// One exchange. \param securityFlags of a connection to an "ipps" URI.
    /// \return null with the last error set.
    static DisposablePtr<IPPAttributes> Query(Address* address, const wchar_t* printerUri,
                                              const RequestValues& values, unsigned long securityFlags);

    HRESULT GetHeader(IPPAnswerHeader* header) const override;
    unsigned GetCount() const override { return static_cast<unsigned>(names_.size()); }
    const char* GetName(unsigned index) const override;
    HRESULT GetValue(const char* name, VARIANT* value) const override;
    HRESULT GetFault(IPPFault* fault) const override;
    const unsigned char* GetBody(unsigned long* length) const override;
    HRESULT NextGroup(IPPGroup* group) const override;
    HRESULT NextAttribute(IPPAttribute* attribute) const override;
    HRESULT NextValue(IPPAttribute* attribute, IPPValue* value) const override;
    HRESULT FindAttribute(const IPPGroup* group, const char* name, IPPAttribute* attribute) const override;

private:
    explicit IPPAttributesImpl(std::shared_ptr<const Ipp::Message> response);
    std::optional<Ipp::Attribute> Find(const IPPGroup* group, std::string_view name) const;

    std::shared_ptr<const Ipp::Message> response_;
    /// Those of the response, each with a zero at its end.
    std::vector<std::string> names_;
};

}  // namespace Corvix
