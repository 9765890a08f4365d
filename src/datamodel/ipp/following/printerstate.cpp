#include "datamodel/ipp/following/printerstate.h"

#include "datamodel/ipp/target/deviceprobe.h"
#include "datamodel/ipp/target/printeruri.h"
#include "utilslib/logging.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

HRESULT RetrievePrinterState(IppExchange& exchange, HANDLE interrupt, PrinterState& state) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::RetrievePrinterState");
    const wchar_t* host = exchange.Device()->GetHostName();
    // A connection wakes a sleeping device; whether there was one is not the question.
    if (host && !IsUsbPortName(host)) DeviceExists(host, L"631", interrupt);
    RequestValues values;
    values.operation = Ipp::Operation::GetPrinterAttributes;
    values.requestedAttributes = "printer-state,printer-state-reasons";
    IppAnswer answer;
    if (FAILED(exchange.Ask(values, answer))) return E_FAIL;
    state = {answer.TextOf("printer-state"), answer.TextOf("printer-state-reasons")};
    return S_OK;
}

}  // namespace Corvix
