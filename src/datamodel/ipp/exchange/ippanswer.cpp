#include "datamodel/ipp/exchange/ippanswer.h"

#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

HRESULT IppAnswer::Read(HTTPResponse& response) {
    const unsigned long length = response.GetBodyLength();
    const auto* body = reinterpret_cast<const char*>(response.GetBody());
    return Read(std::string_view(body, body ? length : 0));
}

HRESULT IppAnswer::Read(std::string_view body, bool failOnErrorStatus) {
    message_ = std::make_shared<const Ipp::Message>(
        Ipp::ReadResponseData(body, Ipp::ReadOptions{failOnErrorStatus}));
    if (message_->HasHeader() && message_->Code() != Ipp::Status::Ok)
        logSource.Error(L"IPP status is not success %d", static_cast<int>(message_->Code()));
    const auto& fault = message_->GetFault();
    if (!fault) return S_OK;
    logSource.Error(L"The IPP response is malformed at byte %lu: %hs",
                    static_cast<unsigned long>(fault->offset), fault->reason);
    return KyUtils::FailWith(unreadableAnswerError);
}

std::wstring IppAnswer::TextOf(std::string_view name) const {
    return message_ ? KyUtils::ToWide(message_->ValueText(name).value_or("")) : std::wstring();
}

}  // namespace Corvix
