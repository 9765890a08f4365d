#include "corvixdm/dataitemspec.h"
#include "datamodel/dom/domreader.h"
#include "datamodel/maps/itemtext.h"
#include "utilslib/boundary.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

IPPDataItemSpec::IPPDataItemSpec(const DomElement& element)
    : DataItemSpec(element),
      command_(TextValueOf(element, L"Command")),
      jobUri_(TextValueOf(element, L"JobURI")),
      resourceUri_(TextValueOf(element, L"ResourceURI")),
      charset_(TextValueOf(element, L"Charset")),
      lang_(TextValueOf(element, L"Lang")) {}

IPPDataItemSpec::IPPDataItemSpec(const wchar_t* name, const wchar_t* command, bool transient,
                                 const wchar_t* prefix, const wchar_t* jobUri, unsigned long long lifespan,
                                 const wchar_t* type)
    : DataItemSpec(name, transient, prefix, lifespan, type), command_(CopyText(command)) {
    // A job URI means something to an operation only.
    if (command_) jobUri_ = CopyText(jobUri);
}

IPPDataItemSpec* IPPDataItemSpec::CreateIPPDataItemSpec() {
    return KyUtils::Entry(logSource, "Corvix::IPPDataItemSpec::CreateIPPDataItemSpec",
                          [] { return new IPPDataItemSpec; });
}

IPPDataItemSpec* IPPDataItemSpec::CreateIPPDataItemSpec(IXMLDOMNode* node) {
    return KyUtils::Entry(logSource, "Corvix::IPPDataItemSpec::CreateIPPDataItemSpec",
                          [&] { return new IPPDataItemSpec(DomElement(node)); });
}

IPPDataItemSpec* IPPDataItemSpec::CreateIPPDataItemSpec(const wchar_t* name, const wchar_t* command,
                                                        bool transient, const wchar_t* prefix,
                                                        const wchar_t* jobUri, unsigned long long lifespan,
                                                        const wchar_t* type) {
    return KyUtils::Entry(logSource, "Corvix::IPPDataItemSpec::CreateIPPDataItemSpec", [&] {
        return new IPPDataItemSpec(name, command, transient, prefix, jobUri, lifespan, type);
    });
}

void IPPDataItemSpec::Initialize() {
    command_.reset();
    jobUri_.reset();
    resourceUri_.reset();
    charset_.reset();
    lang_.reset();
}

const wchar_t* IPPDataItemSpec::GetCommand() const { return TextOrNull(command_); }

const wchar_t* IPPDataItemSpec::GetJobUri() const { return TextOrNull(jobUri_); }

const wchar_t* IPPDataItemSpec::GetResourceUri() const { return TextOrNull(resourceUri_); }

const wchar_t* IPPDataItemSpec::GetCharSet() const { return TextOrNull(charset_); }

const wchar_t* IPPDataItemSpec::GetLang() const { return TextOrNull(lang_); }

}  // namespace Corvix
