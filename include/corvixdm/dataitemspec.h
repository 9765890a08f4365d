/// \file dataitemspec.h
/// Data item specifications: how one named value of a device is fetched.
///
/// Items are built from the elements of a data map document or, in code, by their factories. Whoever makes an
/// item owns it until DataMapSpec::AddDataItemSpec() takes it over. Texts passed in are copied; a text that
/// was never given is null, which is not the same as an empty one. Text accessors return the object's own
/// string, valid until the object changes or goes. Items are copyable and are used by one thread at a time.
#pragma once

#include <windows.h>

#include <oaidl.h>
#include <map>
#include <optional>
#include <string>

#include "export.h"

struct IXMLDOMNode;

namespace Corvix {

class DomElement;
class NextOIDDataItemSpec;
class OIDGetDataItemsSpec;

/// What every item has: a name, and the rules that turn a device's vocabulary into the caller's.
class CORVIXDM_API CvxDataItem {
public:
    virtual ~CvxDataItem();
    /// Empties the fields of the class itself.
    virtual void Initialize();

    const wchar_t* GetName() const;
    const wchar_t* GetAttributeID() const;
    const wchar_t* GetPrefix() const;

    /// Applies the item's rules to one raw value.
    /// \param raw the value as the device gave it; stays the caller's.
    /// \return a new VARIANT that the caller clears: the replacement text of the rule that matched (VT_BSTR),
    ///     or a copy of `raw` when none did.
    /// \throws _com_error when a value cannot be copied (its HRESULT) or memory runs out (E_OUTOFMEMORY).
    VARIANT ConvertValue(VARIANT raw) const;

protected:
    CvxDataItem() = default;
    /// Sets both the name and the attribute ID to `name`.
    CvxDataItem(const wchar_t* name, const wchar_t* prefix);
    explicit CvxDataItem(const DomElement& element);
    CvxDataItem(const CvxDataItem&) = default;
    CvxDataItem(CvxDataItem&&) = default;
    CvxDataItem& operator=(const CvxDataItem&) = default;
    CvxDataItem& operator=(CvxDataItem&&) = default;

    using Text = std::optional<std::wstring>;
    using ConversionRules = std::map<std::wstring, std::wstring>;
    /// Reads the element's `Conversion` children into the rules.
    void AddToConversionCollection(const DomElement& element);

private:
    Text name_;
    Text attributeId_;
    Text prefix_;
    ConversionRules containsRules_;
    ConversionRules equalsRules_;
};

/// An item that is fetched from the device.
class CORVIXDM_API DataItemSpec : public CvxDataItem {
public:
    void Initialize() override;

    /// The item's value type as the map writes it.
    const wchar_t* GetType() const;
    /// Whether the value must never be cached.
    bool IsTransient() const;
    /// How long a cached value stays valid, in tenths of a second; 0 is for ever. Of a longer number given to
    /// a factory the lowest 32 bits are kept.
    unsigned GetLifespan() const;

protected:
    DataItemSpec() = default;
    DataItemSpec(const wchar_t* name, bool transient, const wchar_t* prefix, unsigned long long lifespan,
                 const wchar_t* type);
    explicit DataItemSpec(const DomElement& element);

private:
    unsigned lifespan_ = 0;
    bool transient_ = false;
    Text type_;
};

/// A value selected by an XPath inside an XML resource of the device.
class CORVIXDM_API XMLDataItemSpec : public DataItemSpec {
public:
    static XMLDataItemSpec* CreateXMLDataItem();
    static XMLDataItemSpec* CreateXMLDataItem(IXMLDOMNode* node);
    static XMLDataItemSpec* CreateXMLDataItem(const wchar_t* name, const wchar_t* uri, const wchar_t* xpath,
                                              const wchar_t* prefix, bool transient,
                                              unsigned long long lifespan, const wchar_t* type);
    void Initialize() override;

    /// The resource's path, or its resource type for the "Pavo" protocol.
    const wchar_t* GetUri() const;
    const wchar_t* GetXPath() const;

private:
    XMLDataItemSpec() = default;
    explicit XMLDataItemSpec(const DomElement& element);
    XMLDataItemSpec(const wchar_t* name, const wchar_t* uri, const wchar_t* xpath, const wchar_t* prefix,
                    bool transient, unsigned long long lifespan, const wchar_t* type);

    Text uri_;
    Text xpath_;
};

/// A single SNMP object, or one of a group that is fetched in one request.
class CORVIXDM_API OIDDataItemSpec : public DataItemSpec {
public:
    static OIDDataItemSpec* CreateOIDDataItemSpec();
    static OIDDataItemSpec* CreateOIDDataItemSpec(IXMLDOMNode* node);
    static OIDDataItemSpec* CreateOIDDataItemSpec(const wchar_t* name, const wchar_t* oid,
                                                  const wchar_t* group, bool transient, const wchar_t* prefix,
                                                  unsigned long long lifespan, const wchar_t* type);
    void Initialize() override;
    /// This item as a walk, or null when it is none.
    virtual NextOIDDataItemSpec* GetNextOIDDataItemSpec();
    /// This item as a table, or null when it is none.
    virtual OIDGetDataItemsSpec* GetOIDGetDataItemsSpec();

    /// The object identifier in dotted form. A second one after ";" is written with 1 after every read.
    const wchar_t* GetOid() const;
    const wchar_t* GetGroup() const;

protected:
    OIDDataItemSpec() = default;
    explicit OIDDataItemSpec(const DomElement& element);
    OIDDataItemSpec(const wchar_t* name, const wchar_t* oid, const wchar_t* group, bool transient,
                    const wchar_t* prefix, unsigned long long lifespan, const wchar_t* type);

private:
    Text group_;
    Text oid_;
};

/// A walk: the object at the OID and those that follow it.
class CORVIXDM_API NextOIDDataItemSpec : public OIDDataItemSpec {
public:
    static NextOIDDataItemSpec* CreateNextOidDataItemSpec();
    static NextOIDDataItemSpec* CreateNextOidDataItemSpec(IXMLDOMNode* node);
    static NextOIDDataItemSpec* CreateNextOidDataItemSpec(const wchar_t* name, const wchar_t* oid,
                                                          const wchar_t* group, bool transient,
                                                          const wchar_t* prefix, unsigned long long lifespan,
                                                          const wchar_t* type, bool untilEnd, int count);
    void Initialize() override;
    NextOIDDataItemSpec* GetNextOIDDataItemSpec() override;
    OIDGetDataItemsSpec* GetOIDGetDataItemsSpec() override;

    bool IsUntilEnd() const;
    int Count() const;

private:
    NextOIDDataItemSpec() = default;
    explicit NextOIDDataItemSpec(const DomElement& element);
    NextOIDDataItemSpec(const wchar_t* name, const wchar_t* oid, const wchar_t* group, bool transient,
                        const wchar_t* prefix, unsigned long long lifespan, const wchar_t* type,
                        bool untilEnd, int count);

    int count_ = 0;
    bool untilEnd_ = false;
};

/// A table column: objects whose OIDs are made from a template that holds the letter "N".
class CORVIXDM_API OIDGetDataItemsSpec : public OIDDataItemSpec {
public:
    static OIDGetDataItemsSpec* CreateOIDGetDataItemsSpec();
    static OIDGetDataItemsSpec* CreateOIDGetDataItemsSpec(IXMLDOMNode* node);
    /// `n` is kept as text only: the first index substituted is 0.
    static OIDGetDataItemsSpec* CreateOIDGetDataItemsSpec(const wchar_t* name, const wchar_t* oid,
                                                          const wchar_t* group, bool transient,
                                                          const wchar_t* prefix, unsigned long long lifespan,
                                                          const wchar_t* type, bool untilEnd, int count,
                                                          const wchar_t* n);
    void Initialize() override;
    NextOIDDataItemSpec* GetNextOIDDataItemSpec() override;
    OIDGetDataItemsSpec* GetOIDGetDataItemsSpec() override;

    bool IsUntilEnd() const;
    int Count() const;
    /// The first index as the map writes it; empty when it gives none.
    const wchar_t* GetN() const;
    /// The template with the next index in place of "N"; advances the index. Empty without an `N` text.
    std::wstring GetOid();
    /// The same, whether there is an `N` text or not.
    std::wstring GetNextOid();

private:
    OIDGetDataItemsSpec() = default;
    explicit OIDGetDataItemsSpec(const DomElement& element);
    OIDGetDataItemsSpec(const wchar_t* name, const wchar_t* oid, const wchar_t* group, bool transient,
                        const wchar_t* prefix, unsigned long long lifespan, const wchar_t* type,
                        bool untilEnd, int count, const wchar_t* n);
    std::wstring FindAndReplaceNInOID();

    std::wstring nText_;
    int n_ = 0;
    int count_ = 0;
    bool untilEnd_ = false;
};

/// An IPP attribute, or the parameters of a map's IPP requests.
class CORVIXDM_API IPPDataItemSpec : public DataItemSpec {
public:
    static IPPDataItemSpec* CreateIPPDataItemSpec();
    static IPPDataItemSpec* CreateIPPDataItemSpec(IXMLDOMNode* node);
    /// `jobUri` is kept only together with a `command`; resource, charset and language stay null.
    static IPPDataItemSpec* CreateIPPDataItemSpec(const wchar_t* name, const wchar_t* command, bool transient,
                                                  const wchar_t* prefix, const wchar_t* jobUri,
                                                  unsigned long long lifespan, const wchar_t* type);
    void Initialize() override;

    const wchar_t* GetCommand() const;
    const wchar_t* GetJobUri() const;
    const wchar_t* GetResourceUri() const;
    const wchar_t* GetCharSet() const;
    const wchar_t* GetLang() const;

private:
    IPPDataItemSpec() = default;
    explicit IPPDataItemSpec(const DomElement& element);
    IPPDataItemSpec(const wchar_t* name, const wchar_t* command, bool transient, const wchar_t* prefix,
                    const wchar_t* jobUri, unsigned long long lifespan, const wchar_t* type);

    Text command_;
    Text jobUri_;
    Text resourceUri_;
    Text charset_;
    Text lang_;
};

/// A constant.
class CORVIXDM_API StaticDataItemSpec : public CvxDataItem {
public:
    static StaticDataItemSpec* CreateStaticDataItemSpec();
    static StaticDataItemSpec* CreateStaticDataItemSpec(IXMLDOMNode* node);
    static StaticDataItemSpec* CreateStaticDataItemSpec(const wchar_t* name, const wchar_t* value,
                                                        const wchar_t* prefix);
    void Initialize() override;

    const wchar_t* GetStaticDataItemValue() const;

private:
    StaticDataItemSpec() = default;
    explicit StaticDataItemSpec(const DomElement& element);
    StaticDataItemSpec(const wchar_t* name, const wchar_t* value, const wchar_t* prefix);

    Text value_;
};

}  // namespace Corvix
