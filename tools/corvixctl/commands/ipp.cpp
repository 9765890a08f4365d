// ipp: the attributes of an IPP printer, or of an answer that was kept.
#include <algorithm>
#include <set>
#include <string_view>

#include "base/console.h"
#include "base/files.h"
#include "base/text.h"
#include "commands/commands.h"
#include "corvixdm/ippattributes.h"
#include "device/ippanswers.h"
#include "device/printer.h"
#include "maps/reading.h"
#include "output/format.h"
#include "utilslib/com.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {
namespace {

using Corvix::DisposablePtr;
using Corvix::IPPAnswerHeader;
using Corvix::IPPAttributes;
using Corvix::IPPFault;
using KyUtils::ToUtf8;
using KyUtils::ToWideOrLatin1;

const OptionGroup answerOptions = {
    L"Answer",
    {
        {L"save", L"FILE", L"also keep the answer's bytes"},
        {L"decode", L"FILE", L"read an answer that was kept, in place of asking a printer"},
    },
};

// Names that stand for many attributes.
constexpr const wchar_t* groupNames[] = {L"all", L"printer-description", L"job-template",
                                         L"document-template", L"subscription-template"};

using Names = std::vector<std::wstring>;

bool IsGroup(const std::wstring& name) {
    return std::find(std::begin(groupNames), std::end(groupNames), name) != std::end(groupNames);
}

// A member of a collection comes with the whole attribute.
std::wstring RequestedNames(const Names& named) {
    std::wstring list;
    std::set<std::wstring> seen;
    for (const std::wstring& name : named) {
        const std::wstring attribute = name.substr(0, name.find(L'.'));
        if (seen.insert(attribute).second) list += (list.empty() ? L"" : L",") + attribute;
    }
    return list.empty() ? L"all" : list;
}

// A comma would make two names of one on the wire.
void CheckNames(const Names& named) {
    for (const std::wstring& name : named) {
        if (name.empty() || name.find_first_of(L", \t") != std::wstring::npos)
            throw UsageError(L"attribute \"" + name + L"\": name attributes one by one, with blanks between");
    }
}

// ---- the answer

using Answer = DisposablePtr<IPPAttributes>;

Answer DecodeFile(const Arguments& arguments, const std::wstring& path) {
    for (const wchar_t* option : {L"device", L"uri", L"save", L"resource", L"insecure"}) {
        if (arguments.Has(option))
            throw UsageError(L"--decode asks no printer: --" + std::wstring(option) + L" has no place");
    }
    const std::string body = ReadFileBytes(path, ExitCode::Incomplete, L"answer");
    return Answer(CreateIPPAttributes(reinterpret_cast<const unsigned char*>(body.data()),
                                      static_cast<unsigned long>(body.size())));
}

Answer AskPrinter(const Arguments& arguments) {
    const Printer printer = OpenPrinter(arguments);
    const std::string requested = ToUtf8(RequestedNames(arguments.Operands()));
    Answer answer = QueryPrinter(printer, requested);
    if (const auto path = arguments.Find(L"save")) {
        unsigned long length = 0;
        const auto* body = reinterpret_cast<const char*>(answer->GetBody(&length));
        WriteFileBytes(*path, std::string_view(body, length), L"answer");
    }
    return answer;
}

Cell ValueOf(const IPPAttributes& answer, const char* name) {
    KyUtils::Variant value;
    if (answer.GetValue(name, value.Receive()) != S_OK) return {};
    return ToCell(value.Get());
}

bool IsMember(const std::wstring& name) { return name.find(L'.') != std::wstring::npos; }

struct Listing {
    Records records{{{L"name"}, {L"value"}}, {}};
    Names missing;

    void AddNamed(const IPPAttributes& answer, const std::wstring& name) {
        Cell value = ValueOf(answer, ToUtf8(name).c_str());
        if (IsEmpty(value)) {
            missing.push_back(name);
        } else {
            records.rows.push_back({name, std::move(value)});
        }
    }
    // By their own bytes: a device's names need not be UTF-8.
    void AddAll(const IPPAttributes& answer) {
        for (unsigned i = 0; i < answer.GetCount(); ++i)
            records.rows.push_back({ToWideOrLatin1(answer.GetName(i)), ValueOf(answer, answer.GetName(i))});
    }
};

// What the user named; where that is nothing, or a group, all that came, members named besides.
Listing ListAttributes(const IPPAttributes& answer, const Names& named) {
    Listing listing;
    const bool wantsAll = named.empty() || std::any_of(named.begin(), named.end(), IsGroup);
    if (wantsAll) listing.AddAll(answer);
    for (const std::wstring& name : named) {
        if (!wantsAll || IsMember(name)) listing.AddNamed(answer, name);
    }
    return listing;
}

// ---- output

std::wstring VersionOf(const IPPAnswerHeader& header) {
    return std::to_wstring(header.majorVersion) + L"." + std::to_wstring(header.minorVersion);
}

std::wstring FaultJson(const IPPAttributes& answer) {
    IPPFault fault = {};
    if (answer.GetFault(&fault) != S_OK) return L"null";
    JsonObject object;
    object.Add(L"offset", static_cast<long long>(fault.offset)).Add(L"reason", ToWideOrLatin1(fault.reason));
    return object.Text();
}

JsonObject ToDocument(const IPPAttributes& answer, const Records& records) {
    IPPAnswerHeader header = {};
    const bool hasHeader = answer.GetHeader(&header) == S_OK;
    JsonObject attributes(JsonObject::Layout::LineEach);
    for (const auto& row : records.rows)
        attributes.Add(std::get<std::wstring>(row[0]), row[1]);
    return JsonDocument()
        .Add(L"version", hasHeader ? Cell(VersionOf(header)) : Cell())
        .Add(L"status", hasHeader ? Cell(static_cast<long long>(header.status)) : Cell())
        .AddJson(L"attributes", attributes.Text())
        .AddJson(L"fault", FaultJson(answer));
}

std::wstring TableOf(const IPPAttributes& answer, const Records& records) {
    std::wstring table;
    IPPAnswerHeader header = {};
    if (answer.GetHeader(&header) == S_OK)
        // An answer that is too short for a header has no first line.
        table = L"IPP " + VersionOf(header) + L", " + IppStatusText(header.status) + L"\n";
    return records.rows.empty() ? table : table + ToTable(records);
}

// What is wrong with the answer, a line each.
std::vector<std::wstring> Complaints(const IPPAttributes& answer, const Names& missing) {
    std::vector<std::wstring> complaints;
    IPPFault fault = {};
    if (answer.GetFault(&fault) == S_OK) {
        complaints.push_back(L"the answer is malformed at byte " + std::to_wstring(fault.offset) + L": " +
                             ToWideOrLatin1(fault.reason));
    }
    if (!missing.empty()) complaints.push_back(L"not in the answer: " + Joined(missing));
    return complaints;
}

ExitCode RunIpp(const Arguments& arguments) {
    const Format format = ReadFormat(arguments);
    CheckNames(arguments.Operands());
    const auto file = arguments.Find(L"decode");
    const Answer answer = file ? DecodeFile(arguments, *file) : AskPrinter(arguments);
    const Listing listing = ListAttributes(*answer, arguments.Operands());
    const Records& records = listing.records;
    PrintAs(format, {[&] { return TableOf(*answer, records); }, [&] { return ToDocument(*answer, records); },
                     [&] { return ToCsv(records); }});
    auto complaints = Complaints(*answer, listing.missing);
    // A kept answer is read well whatever it says.
    IPPAnswerHeader header = {};
    if (!file && answer->GetHeader(&header) == S_OK && !IsIppSuccess(header.status))
        complaints.push_back(L"the printer answered " + IppStatusText(header.status));
    for (const std::wstring& complaint : complaints)
        Complain(complaint);
    return complaints.empty() ? ExitCode::Done : ExitCode::Incomplete;
}

}  // namespace

const Command& IppCommand() {
    static const Command command = {
        L"ipp",
        L"{--device HOST | --uri URI | --decode FILE} [OPTION...] [ATTRIBUTE...]",
        L"read the attributes of an IPP printer",
        L"Asks a printer for the attributes named, or for all that it tells, with one request, and prints "
        L"what\n"
        L"it answered. A member of a collection is named with dots. An answer kept with --save is read back\n"
        L"with --decode, without a printer; of a malformed one everything before the fault is printed.",
        L"corvixctl ipp --device 192.0.2.7\n"
        L"corvixctl ipp --device 192.0.2.7 printer-state media-col-default.media-size.x-dimension\n"
        L"corvixctl ipp --uri ipps://printer.example/ipp/print --insecure --format json\n"
        L"corvixctl ipp --device 192.0.2.7 --save answer.ipp all media-col-database\n"
        L"corvixctl ipp --decode answer.ipp",
        {&printerOptions, &answerOptions, &deviceOptions, &formatOptions},
        0,
        anyNumber,
        RunIpp,
    };
    return command;
}

}  // namespace CorvixCtl
