/// \file ippattributes.h
/// A whole IPP answer: every attribute in it, and where reading it stopped. Fetched from a printer, or read
/// from bytes that were kept.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include "disposable.h"
#include "export.h"
#include "ippvalue.h"
#include "transport.h"

namespace Corvix {

/// The first eight bytes of an answer.
struct IPPAnswerHeader {
    unsigned char majorVersion;  ///< 2
    unsigned char minorVersion;
    unsigned short status;  ///< the IPP status code, such as 0 or 0x0406
    unsigned requestId;
};

/// What stopped the reading of a malformed answer.
struct IPPFault {
    unsigned long offset;  ///< the byte of the body
    const char* reason;    ///< an English sentence without its end, valid as long as the library is loaded
};

/// A place in the groups of an answer, at first before the first of them. Belongs to one answer, as do the
/// places below.
struct IPPGroup {
    unsigned char tag = 0;  ///< 1 operation, 2 job, 4 printer, 5 unsupported attributes; 0 outside any group
    /// \name The library's own
    /// @{
    unsigned first = 0;
    unsigned end = 0;
    unsigned next = 0;
    /// @}
};

/// A place among attributes and their values: at first before the first attribute of a group, or before the first
/// member of a collection.
struct IPPAttribute {
    IPPAttribute() = default;
    explicit IPPAttribute(const IPPGroup& group) : next(group.first), end(group.end) {}
    explicit IPPAttribute(const IPPValue& collection) : next(collection.members), isMember(true) {}

    std::string_view name;  ///< points into the answer, without a zero at the end
    /// \name The library's own
    /// @{
    unsigned next = 0;
    unsigned end = 0;
    unsigned begin = 0;
    unsigned value = 0;
    bool isMember = false;
    /// @}
};

/// The attributes of one answer, which never change. May be used by several threads at once.
///
/// They are there twice. As they came: groups, attributes in each, values in each, collections with members.
/// \code
///     IPPGroup group;
///     while (answer->NextGroup(&group) == S_OK) {
///         IPPAttribute attribute(group);
///         while (answer->NextAttribute(&attribute) == S_OK) {
///             IPPValue value;
///             while (answer->NextValue(&attribute, &value) == S_OK) Show(attribute.name, value);
///         }
///     }
/// \endcode
/// And as texts by name, GetCount() to GetValue(): attributes of one name that come in several groups are one
/// there, their values in the order of arrival; dates, texts with a language, out-of-band and unknown values are
/// left out, and so is an attribute without any other value.
class CORVIXDM_API IPPAttributes : public virtual IDisposable {
public:
    IPPAttributes();
    IPPAttributes(const IPPAttributes& other);
    IPPAttributes& operator=(const IPPAttributes& other);
    virtual ~IPPAttributes();

    /// \return S_OK; S_FALSE when the body is too short for a header or not of IPP 2.x, E_FAIL for null:
    ///     `header` is then left as it was.
    virtual HRESULT GetHeader(IPPAnswerHeader* header) const = 0;

    /// The number of names.
    virtual unsigned GetCount() const = 0;
    /// A name in UTF-8, in the order in which they came, counted from 0; null beyond the last. The object's
    /// own.
    virtual const char* GetName(unsigned index) const = 0;

    /// The values of an attribute in one text, joined by ",".
    /// \param name an attribute's name; with dots a member of its collections, such as
    ///     "media-col-default.media-size.x-dimension"; or "status-code".
    /// \param value set to a VT_BSTR, which the caller clears.
    /// \return S_OK; S_FALSE when the answer does not hold it, E_FAIL for a null argument: `value` is then
    ///     left as it was. \throws _com_error with E_OUTOFMEMORY when memory runs out.
    virtual HRESULT GetValue(const char* name, VARIANT* value) const = 0;

    /// Tells where reading stopped; what came before can be asked for all the same.
    /// A body that was cut off between two attributes has its fault where it ends.
    /// \return S_OK; S_FALSE when the whole body was read, E_FAIL for null: `fault` is then left as it was.
    virtual HRESULT GetFault(IPPFault* fault) const = 0;

    /// The bytes of the answer, null when there are none, and their number. The object's own.
    virtual const unsigned char* GetBody(unsigned long* length) const = 0;

    /// \name Steps
    /// Each moves a place on to the next of its kind. \return S_OK; S_FALSE when there is none, E_FAIL for null:
    /// what stands in the place is then left as it was. They never throw.
    /// @{
    /// Goes on to the next group, which may be empty.
    virtual HRESULT NextGroup(IPPGroup* group) const = 0;
    /// Goes on to the next attribute of the group, or the next member of the collection, before its first value.
    virtual HRESULT NextAttribute(IPPAttribute* attribute) const = 0;
    /// Goes on to the attribute's next value. How deep collections lie in each other is the printer's choice.
    virtual HRESULT NextValue(IPPAttribute* attribute, IPPValue* value) const = 0;
    /// Goes to the first attribute of a name, before its first value.
    /// \param group the group to look in, null for all.
    virtual HRESULT FindAttribute(const IPPGroup* group, const char* name, IPPAttribute* attribute) const = 0;
    /// @}
};

}  // namespace Corvix

extern "C" {
/// Reads the body of an answer, for example one that was kept. Malformed bytes are no failure: see
/// GetFault().
/// \param body copied; null is an empty body.
/// \return an object that holds one reference, owned by the caller.
/// \throws _com_error with E_OUTOFMEMORY when memory runs out.
CORVIXDM_API Corvix::IPPAttributes* CreateIPPAttributes(const unsigned char* body, unsigned long length);

/// Fetches attributes of a printer with one Get-Printer-Attributes exchange. In contrast to a provider
/// nothing is probed, and an answer of any status, or a malformed one, is handed back as it came.
/// \param printerUri an "ipp" or "ipps" URI whose port, if it names one, is 631 or 443. The address's port is
///     set to it.
/// \param requestedAttributes names or groups separated by commas; null for "all". The printer is asked for
///     "printer-name" and "printer-uri-supported" besides.
/// \param securityFlags WinINet request flags of an "ipps" connection, as for CreateSecureIPPPrintProvider().
/// \return an object that holds one reference, owned by the caller; or null with the thread's last error: 87
///     for a missing argument or a URI of another kind, an IPPError, 1796 for another port, the HTTP status
///     of a failed exchange, or the transport's own error. Never throws.
CORVIXDM_API Corvix::IPPAttributes* QueryIPPAttributes(Corvix::Address* address, const wchar_t* printerUri,
                                                       const char* requestedAttributes,
                                                       unsigned securityFlags);
}
