#include "datamodel/ipp/exchange/ippexchange.h"

#include <utility>

namespace Corvix {

HRESULT IppExchange::Send(const RequestValues& values, DisposablePtr<HTTPResponse>& response) {
    const HRESULT begun = connection_.Begin(target_, values.record);
    if (FAILED(begun)) return begun;
    std::string body;
    if (FAILED(FormBody(target_, values, body))) return connection_.Fail(GetLastError());
    const auto* bytes = reinterpret_cast<const unsigned char*>(body.data());
    if (FAILED(connection_.Request()->Send(bytes, static_cast<unsigned long>(body.size()))))
        return connection_.Fail();
    DisposablePtr<HTTPResponse> answer;
    const HRESULT fetched = connection_.Fetch(answer);
    if (FAILED(fetched)) return fetched;
    connection_.End();
    response = std::move(answer);
    return S_OK;
}

HRESULT IppExchange::Ask(const RequestValues& values, IppAnswer& answer) {
    DisposablePtr<HTTPResponse> response;
    const HRESULT sent = Send(values, response);
    return FAILED(sent) ? sent : answer.Read(*response);
}

}  // namespace Corvix
