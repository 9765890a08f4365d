#include "printing/order.h"

#include <windows.h>

#include <string_view>

#include "base/exitcodes.h"
#include "base/systemtext.h"
#include "device/printer.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {

using Corvix::DisposablePtr;
using Corvix::IPPRequestBase;

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

namespace {

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
        // Who knows IPP may also use its own words.
        const bool isKeyword = choice.tag == keywordTag && KyUtils::ToUtf8(word) == choice.value;
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
    // Printers take an empty document for a mistake, some by waiting for more.
    if (size == 0) throw UsageError(L"file " + path + L": it is empty");
    return {path, path.substr(path.find_last_of(L"\\/") + 1), size};
}

// Which options go together is decided before anything is sent.
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
    return KyUtils::ToUtf8(text);
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

std::string ToIppName(const std::wstring& text) {
    constexpr size_t longest = 255;
    std::string name = KyUtils::ToUtf8(text);
    if (name.size() <= longest) return name;
    size_t end = longest;
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
        --end;  // not amid a character
    name.resize(end);
    return name;
}

}  // namespace

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

DisposablePtr<IPPRequestBase> NewRequest(const PrintOrder& order) {
    DisposablePtr<IPPRequestBase> request(CreateIPPRequest());
    request->SetRequestingUserName(order.owner.user.c_str());
    request->SetJobName(order.owner.jobName.c_str());
    return request;
}

void AddDocument(const PrintOrder& order, const DocumentFile& file, IPPRequestBase& request) {
    constexpr unsigned char mimeTypeTag = 0x49;
    request.SetDocumentName(ToIppName(file.name).c_str());
    if (order.format.empty()) return;
    request.AddIPPRequest(static_cast<unsigned>(Corvix::IPPBlobType::OperationAttributes), mimeTypeTag,
                          "document-format", reinterpret_cast<const unsigned char*>(order.format.data()),
                          static_cast<int>(order.format.size()));
}

void AddWishes(const PrintOrder& order, IPPRequestBase& request) {
    request.SetCopy(order.copies);
    for (const JobAttribute& attribute : order.attributes) {
        request.AddIPPRequest(static_cast<unsigned>(Corvix::IPPBlobType::JobAttributes), attribute.tag,
                              attribute.name.c_str(),
                              reinterpret_cast<const unsigned char*>(attribute.value.data()),
                              static_cast<int>(attribute.value.size()));
    }
}

}  // namespace CorvixCtl
