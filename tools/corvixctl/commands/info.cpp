// info: a page about one printer.
#include <memory>

#include "base/console.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/supplies.h"
#include "corvixdm/deviceinfo.h"
#include "corvixdm/ippattributes.h"
#include "device/ippanswers.h"
#include "device/printer.h"
#include "output/records.h"
#include "utilslib/com.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {
namespace {

using Corvix::IPPAttributes;
using KyUtils::ToWideOrLatin1;

constexpr const char* wantedAttributes =
    "printer-make-and-model,printer-info,printer-location,printer-uuid,printer-device-id,"
    "printer-firmware-string-version,printer-state,printer-state-reasons,printer-state-message,"
    "printer-is-accepting-jobs,queued-job-count,media-type-supported,printer-strings-uri,printer-supply,"
    "printer-supply-description,marker-names,marker-types,marker-levels";

std::wstring TextOf(const IPPAttributes& answer, const char* name) { return Joined(TextsOf(answer, name)); }

std::wstring StateText(const IPPAttributes& answer) {
    const std::wstring state = TextOf(answer, "printer-state");
    const std::wstring reasons = TextOf(answer, "printer-state-reasons");
    return reasons.empty() || reasons == L"none" ? state : state + L": " + reasons;
}

// ---- what the device-information functions answer

// The text that one of them hands over, freed by its partner; empty when it does not answer.
template <class Get>
std::wstring TakeText(Get get, void (*dispose)(wchar_t*)) {
    wchar_t* text = nullptr;
    if (get(&text) != S_OK) return {};
    const std::unique_ptr<wchar_t, void (*)(wchar_t*)> owner(text, dispose);
    return text;
}

// With a blank behind each comma.
std::wstring Spaced(const std::wstring& list) {
    std::wstring text;
    for (const wchar_t c : list)
        text += c == L',' ? std::wstring(L", ") : std::wstring(1, c);
    return text;
}

using StringsPtr = std::unique_ptr<CorvixStringsMap, void (*)(CorvixStringsMap*)>;

StringsPtr DeviceIdItems(const std::wstring& deviceId) {
    StringsPtr items(CreateStringCollection(),
                     [](CorvixStringsMap* map) { DisposeStringCollection(map, nullptr); });
    if (items) ParseStringsToMap(deviceId.c_str(), L":", L";", items.get(), 0, 0);
    return items;
}

// ---- the page

class Page {
public:
    Page(const Printer& printer, const IPPAttributes& answer) : printer_(printer), answer_(answer) {
        AddAttribute(L"make and model", "printer-make-and-model");
        AddAttribute(L"info", "printer-info");
        AddAttribute(L"location", "printer-location");
        Add(L"state", StateText(answer));
        AddAttribute(L"message", "printer-state-message");
        AddAttribute(L"accepting jobs", "printer-is-accepting-jobs");
        AddAttribute(L"jobs queued", "queued-job-count");
        AddAttribute(L"firmware", "printer-firmware-string-version");
        AddAttribute(L"UUID", "printer-uuid");
        AddDeviceId();
        Add(L"media types", MediaTypes());
        Add(L"strings", StringsUri());
    }

    std::wstring Render() const {
        const Records supplies = SupplyRecords();
        std::wstring page = ToTable(facts_);
        if (!supplies.rows.empty()) page += L"\n" + ToTable(supplies);
        return page;
    }

private:
    void Add(const std::wstring& name, const std::wstring& value) {
        if (!value.empty()) facts_.rows.push_back({name, value});
    }
    void AddAttribute(const wchar_t* name, const char* attribute) { Add(name, TextOf(answer_, attribute)); }
    void AddDeviceId() {
        const StringsPtr items = DeviceIdItems(TextOf(answer_, "printer-device-id"));
        if (!items) return;
        for (const auto& [key, value] : *items)
            Add(L"device ID " + key, value);
    }

    // Of a printer named by its URI only that URI is asked: the functions ask the device in the clear.
    bool AsksDevice() const { return !printer_.isNamedByUri; }
    std::wstring MediaTypes() const {
        const auto get = [&](wchar_t** text) {
            return GetMediaTypesString(printer_.device.address.Get(), text);
        };
        const std::wstring types = AsksDevice() ? TakeText(get, DisposeMediaTypesString) : std::wstring();
        return types.empty() ? TextOf(answer_, "media-type-supported") : Spaced(types);
    }
    std::wstring StringsUri() const {
        const auto get = [&](wchar_t** text) {
            return GetPrinterStringsUri(printer_.device.address.Get(), L"en", text);
        };
        const std::wstring uri = AsksDevice() ? TakeText(get, DisposePrinterStringsUri) : std::wstring();
        return uri.empty() ? TextOf(answer_, "printer-strings-uri") : uri;
    }

    Records SupplyRecords() const {
        Records records{{{L"supply"}, {L"type"}, {L"level"}}, {}};
        for (Supply& supply : ReadSupplies(answer_))
            records.rows.push_back({std::move(supply.name), std::move(supply.type), std::move(supply.level)});
        return records;
    }

    const Printer& printer_;
    const IPPAttributes& answer_;
    Records facts_{{{L"property"}, {L"value"}}, {}};
};

// A malformed answer is still shown as far as it was read.
void RequireAnswer(const Printer& printer, const IPPAttributes& answer) {
    Corvix::IPPAnswerHeader header = {};
    Corvix::IPPFault fault = {};
    if (answer.GetFault(&fault) == S_OK && answer.GetCount() == 0) {
        throw Failure(ExitCode::Incomplete, L"printer " + printer.uri + L": its answer cannot be read: " +
                                                ToWideOrLatin1(fault.reason));
    }
    if (answer.GetHeader(&header) == S_OK && !IsIppSuccess(header.status))
        throw Failure(ExitCode::Incomplete, L"printer " + printer.uri + L": " + IppStatusText(header.status));
}

ExitCode RunInfo(const Arguments& arguments) {
    const Printer printer = OpenPrinter(arguments);
    const auto answer = QueryPrinter(printer, wantedAttributes);
    RequireAnswer(printer, *answer);
    Print(Page(printer, *answer).Render());
    return ExitCode::Done;
}

}  // namespace

const Command& InfoCommand() {
    static const Command command = {
        L"info",
        L"{--device HOST | --uri URI} [OPTION...]",
        L"a page about an IPP printer",
        L"Tells what the printer is, how it is doing, which media types it takes and what is left in it.",
        L"corvixctl info --device 192.0.2.7\n"
        L"corvixctl info --uri ipps://printer.example/ipp/print --insecure",
        {&printerOptions, &deviceOptions},
        0,
        0,
        RunInfo,
    };
    return command;
}

}  // namespace CorvixCtl
