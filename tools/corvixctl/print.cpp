// print: sends files to a printer and follows the job to its end.
#include <windows.h>

#include <algorithm>
#include <string_view>

#include "commands.h"
#include "console.h"
#include "submission.h"
#include "systemtext.h"
#include "transport/text.h"

namespace CorvixCtl {
namespace {

const OptionGroup printOptions = {
    L"Printing",
    {
        {L"stream", nullptr, L"one Print-Job that carries the one file; the default"},
        {L"documents", nullptr, L"a Create-Job, then a Send-Document for each file"},
        {L"copies", L"N", L"how many copies (1)"},
        {L"sides", L"one|long|short",
         L"one side of the sheet, or both, turned at the long or the short edge"},
        {L"quality", L"draft|normal|high", L"print quality"},
        {L"color", L"color|monochrome", L"print in colour or not"},
        {L"orientation", L"WAY", L"portrait, landscape, reverse-landscape or reverse-portrait"},
        {L"job-name", L"TEXT", L"what the printer calls the job (the name of the first file)"},
        {L"document-format", L"TYPE", L"what the files are, such as application/pdf (the printer finds out)"},
        {L"wait", nullptr, L"begin only when the printer is idle and has room for data"},
    },
};

constexpr unsigned char enumTag = 0x23;
constexpr unsigned char keywordTag = 0x44;

// A word of the command line, and the job attribute that it stands for.
struct Choice {
    const wchar_t* option;
    const wchar_t* word;
    const char* attribute;
    unsigned char tag;
    std::string_view value;
};
using namespace std::string_view_literals;
constexpr Choice choices[] = {
    {L"sides", L"one", "sides", keywordTag, "one-sided"sv},
    {L"sides", L"long", "sides", keywordTag, "two-sided-long-edge"sv},
    {L"sides", L"short", "sides", keywordTag, "two-sided-short-edge"sv},
    {L"quality", L"draft", "print-quality", enumTag, "\0\0\0\3"sv},
    {L"quality", L"normal", "print-quality", enumTag, "\0\0\0\4"sv},
    {L"quality", L"high", "print-quality", enumTag, "\0\0\0\5"sv},
    {L"color", L"color", "print-color-mode", keywordTag, "color"sv},
    {L"color", L"monochrome", "print-color-mode", keywordTag, "monochrome"sv},
    {L"orientation", L"portrait", "orientation-requested", enumTag, "\0\0\0\3"sv},
    {L"orientation", L"landscape", "orientation-requested", enumTag, "\0\0\0\4"sv},
    {L"orientation", L"reverse-landscape", "orientation-requested", enumTag, "\0\0\0\5"sv},
    {L"orientation", L"reverse-portrait", "orientation-requested", enumTag, "\0\0\0\6"sv},
};

JobAttribute ReadChoice(const std::wstring& option, const std::wstring& word) {
    std::wstring words;
    for (const Choice& choice : choices) {
        if (option != choice.option) continue;
        const bool isKeyword = choice.tag == keywordTag && CorvixTransport::ToUtf8(word) == choice.value;
        if (word == choice.word || isKeyword)
            return {choice.tag, choice.attribute, std::string(choice.value)};
        words += (words.empty() ? L"" : L", ") + std::wstring(choice.word);
    }
    throw UsageError(L"--" + option + L" " + word + L": expected one of: " + words);
}

DocumentFile ReadFileInfo(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA info = {};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &info))
        throw UsageError(L"file " + path + L": " + SystemText(GetLastError()));
    if (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        throw UsageError(L"file " + path + L": it is a folder");
    const uint64_t size = static_cast<uint64_t>(info.nFileSizeHigh) << 32 | info.nFileSizeLow;
    if (size == 0) throw UsageError(L"file " + path + L": it is empty");
    return {path, path.substr(path.find_last_of(L"\\/") + 1), size};
}

void ReadWay(const Arguments& arguments, PrintOrder& order) {
    constexpr unsigned long usualPatience = 10 * 60 * 1000;
    if (arguments.Has(L"stream") && arguments.Has(L"documents"))
        throw UsageError(L"--stream and --documents: give one");
    order.asDocuments = arguments.Has(L"documents");
    order.waitForReady = arguments.Has(L"wait");
    if (order.asDocuments && order.waitForReady) throw UsageError(L"--wait goes with --stream only");
    if (!order.asDocuments && order.files.size() > 1)
        throw UsageError(L"several files make one job with --documents; without it give one");
    const auto timeout = arguments.Find(L"timeout");
    order.patience = timeout ? ReadMilliseconds(L"timeout", *timeout) : usualPatience;
}

std::string ReadMimeType(const std::wstring& text) {
    constexpr size_t longest = 255;
    const bool isType = text.find(L'/') != std::wstring::npos && text.size() <= longest;
    if (!text.empty() && !isType)
        throw UsageError(L"--document-format " + text + L": expected a MIME type, such as application/pdf");
    return CorvixTransport::ToUtf8(text);
}

void ReadWishes(const Arguments& arguments, PrintOrder& order) {
    order.format = ReadMimeType(arguments.Find(L"document-format").value_or(L""));
    constexpr unsigned long mostCopies = 9999;
    if (const auto copies = arguments.Find(L"copies"))
        order.copies = static_cast<unsigned>(ReadNumber(L"copies", *copies, mostCopies));
    if (order.copies == 0) throw UsageError(L"--copies 0: nothing would be printed");
    for (const wchar_t* option : {L"sides", L"quality", L"color", L"orientation"}) {
        if (const auto word = arguments.Find(option)) order.attributes.push_back(ReadChoice(option, *word));
    }
}

PrintOrder ReadOrder(const Arguments& arguments) {
    PrintOrder order;
    for (const std::wstring& path : arguments.Operands())
        order.files.push_back(ReadFileInfo(path));
    ReadWay(arguments, order);
    ReadWishes(arguments, order);
    const std::wstring jobName = arguments.Find(L"job-name").value_or(order.files.front().name);
    order.owner = {UserName(arguments), ToIppName(jobName), GetTickCount64()};
    return order;
}

// A job that stands still does so for a reason that the printer, not the job, tells best.
std::wstring Describe(Corvix::IPPProvider& provider, const JobStatus& status) {
    const std::wstring text = ToText(status);
    if (status.state != JobState::ProcessingStopped) return text;
    const std::wstring reasons = AskForPrinterReasons(provider);
    return reasons.empty() ? text : text + L", printer: " + reasons;
}

// Shows each state of the job until it has ended, and returns the last one.
JobState Follow(Corvix::IPPProvider& provider, const JobRef& job) {
    constexpr DWORD shortestPause = 100;
    constexpr DWORD longestPause = 1000;
    constexpr int mostFailures = 5;
    const std::wstring named = L"job " + std::to_wstring(job.id);
    std::wstring shown;
    int failures = 0;
    for (DWORD pause = shortestPause;; pause = std::min(2 * pause, longestPause)) {
        const std::optional<JobStatus> status = AskForJob(provider, job);
        StopIfInterrupted();
        if (status) {
            failures = 0;
            const std::wstring text = Describe(provider, *status);
            if (text != shown) Print(named + L" " + text + L"\n");
            if (HasEnded(status->state)) return status->state;
            shown = text;
        } else if (++failures == mostFailures) {
            throw Failure(ExitCode::Incomplete,
                          named + L" was sent, but the printer does not tell its state");
        } else if (failures == 1) {
            Complain(L"the printer does not tell the state of " + named + L"; asking again");
        }
        WaitForSingleObject(InterruptEvent(), pause);
    }
}

ExitCode SendAndFollow(const Arguments& arguments, const PrintOrder& order, Canceller& canceller) {
    const Printer printer = OpenPrinter(arguments, canceller.StopEvent());
    const auto provider = ConnectPrinter(printer);
    const JobRef job = Submit(printer, *provider, order, canceller);
    return CodeOf(Follow(*provider, job));
}

ExitCode RunPrint(const Arguments& arguments) {
    const PrintOrder order = ReadOrder(arguments);
    OpenPrinter(arguments, nullptr);  // complains about the options before anything begins
    Canceller canceller([&](HANDLE stopEvent) { return OpenPrinter(arguments, stopEvent); }, order.owner);
    try {
        return SendAndFollow(arguments, order, canceller);
    } catch (const Failure&) {
        if (!IsInterrupted()) throw;
    }
    return canceller.Report();
}

}  // namespace

const Command& PrintCommand() {
    static const Command command = {
        L"print",
        L"--uri URI [OPTION...] FILE...",
        L"print files and follow the job until it has ended",
        L"Sends the files as they are, so the printer must understand their format, and shows the states of "
        L"the\n"
        L"job until it has ended; only a completed job ends with exit code 0. --user names who prints; with\n"
        L"--password it also answers a printer that asks. Ctrl-C cancels the job at the printer.",
        L"corvixctl print --uri ipp://192.0.2.7/ipp/print --copies 2 --sides long report.pdf\n"
        L"corvixctl print --uri ipps://192.0.2.7/ipp/print --insecure --documents cover.pdf report.pdf",
        {&printOptions, &printerOptions, &deviceOptions},
        1,
        anyNumber,
        RunPrint,
    };
    return command;
}

}  // namespace CorvixCtl
