// set: writes one value to a device.
#include <algorithm>
#include <cerrno>
#include <cwchar>

#include "base/console.h"
#include "base/systemtext.h"
#include "commands/commands.h"
#include "corvixdm/singlerequest.h"
#include "device/device.h"
#include "maps/mapfile.h"
#include "utilslib/com.h"

namespace CorvixCtl {
namespace {

using Corvix::DataMapTypeEnum;
using Corvix::RequestStatus;

const OptionGroup mapOptions = {
    L"Data map",
    {{L"map", L"FILE", L"a data map document with one OIDDataMap that holds the one item to write"}},
};

int ReadInteger(const std::wstring& text) {
    wchar_t* end = nullptr;
    errno = 0;
    const long number = std::wcstol(text.c_str(), &end, 10);
    // wcstol() passes over blanks before a number, and would take an empty text for 0.
    const bool isNumber =
        !text.empty() && *end == L'\0' && (text[0] == L'-' || (text[0] >= L'0' && text[0] <= L'9'));
    if (!isNumber || errno == ERANGE)
        throw UsageError(L"value " + text + L": expected a whole number of 32 bits");
    return static_cast<int>(number);
}

// The library takes the first of several; which one that is nobody should have to guess before a write.
const MapItem& TheOneItem(const MapFile& file) {
    const MapInfo& map = file.Maps().front();
    const auto isFetched = [](const MapItem& item) { return !item.isConstant; };
    const auto count = std::count_if(map.items.begin(), map.items.end(), isFetched);
    if (map.type != DataMapTypeEnum::OID || count != 1) {
        throw Failure(ExitCode::BadMap, L"map " + file.Path() +
                                            L": to write a value its first map must be an " +
                                            L"OIDDataMap with exactly one item besides constants");
    }
    return *std::find_if(map.items.begin(), map.items.end(), isFetched);
}

void Write(const Device& device, const MapFile& file, int number) {
    KyUtils::Variant value;
    VARIANT* target = value.Receive();
    target->vt = VT_INT;
    target->intVal = number;
    const HRESULT result = SetValueFromSingleRequest(device.address.Get(), file.Text().c_str(), target);
    if (result == S_OK) return;
    StopIfInterrupted();
    const auto status = static_cast<RequestStatus>(result);
    if (status == RequestStatus::NoOidItem) throw Failure(ExitCode::BadMap, L"set: the item has no OID");
    // One status for "not taken" and "not there": asking for something else tells which.
    if (status == RequestStatus::SnmpWriteFailed) {
        if (const auto reason = WhyNoSnmp(*device.address)) FailAsUnreachable(device, *reason);
        throw Failure(ExitCode::Incomplete, L"set: the device answers, but did not take the value: not " +
                                                std::wstring(L"writable, or another --community"));
    }
    throw Failure(ExitCode::Incomplete, L"set: " + SystemText(static_cast<unsigned long>(result)));
}

ExitCode RunSet(const Arguments& arguments) {
    const std::wstring path = arguments.Require(L"map", L"the data map to use");
    const int number = ReadInteger(arguments.Operands().front());
    const Device device = OpenDevice(arguments);
    const MapFile file = MapFile::Load(path);
    const MapItem& item = TheOneItem(file);
    Write(device, file, number);
    Complain(item.name + L" (" + item.source + L") set to " + std::to_wstring(number));
    return ExitCode::Done;
}

}  // namespace

const Command& SetCommand() {
    static const Command command = {
        L"set",
        L"--device HOST --map FILE [OPTION...] VALUE",
        L"write one value to a device by SNMP",
        L"Writes a whole number to the object that the map's one item names.",
        L"corvixctl set --device 192.0.2.7 --map sleep-delay.xml --community private 15\n"
        L"corvixctl set --device 127.0.0.2 --port-map 161/udp=10161 --map offset.xml -3",
        {&mapOptions, &deviceOptions, &snmpOptions},
        1,
        1,
        RunSet,
    };
    return command;
}

}  // namespace CorvixCtl
