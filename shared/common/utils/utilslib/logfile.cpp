#include "utilslib/logfile.h"

#include "utilslib/logheader.h"
#include "utilslib/logtext.h"

namespace KyUtils {
namespace {

constexpr wchar_t byteOrderMark[] = L"\xFEFF";
constexpr size_t mostQueuedCharacters = 1u << 20;
constexpr DWORD longestWaitForOthers = 50;  // milliseconds

/// Shared in every way, so that others can write, move or delete the file meanwhile.
Handle OpenForAppending(const std::wstring& name) {
    return Handle(CreateFileW(name.c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// The file's length, with the position at its end; devices have none.
std::uint64_t MoveToEnd(const Handle& file) {
    LARGE_INTEGER end{};
    if (!SetFilePointerEx(file.Get(), {}, &end, FILE_END)) return 0;
    return static_cast<std::uint64_t>(end.QuadPart);
}

bool WriteText(const Handle& file, std::wstring_view text) {
    const auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    DWORD written = 0;
    return WriteFile(file.Get(), text.data(), size, &written, nullptr) && written == size;
}

std::wstring LimitNotice(std::wstring_view module) {
    return L"*** FILE SIZE LIMIT REACHED, LOGGING DISABLED FOR " + std::wstring(module) + L" MODULE ***\r\n";
}

}  // namespace

LogFile::Outcome LogFile::Append(const Target& target, std::wstring_view module, std::wstring_view lines) {
    // Appending is atomic between processes on a local disk, but not on every file system, hence the lock. Do not
    // wait long for it: a process that hangs must not stop the others' logs.
    const KernelLock lock(betweenProcesses_, longestWaitForOthers);
    const Handle file = OpenForAppending(target.name);
    if (!file) return HoldBack(target, lines);
    return AppendTo(file, target, module, lines);
}

LogFile::Outcome LogFile::AppendTo(const Handle& file, const Target& target, std::wstring_view module,
                                   std::wstring_view lines) {
    const std::uint64_t size = MoveToEnd(file);
    if (target.sizeLimit != 0 && size >= target.sizeLimit) {
        WriteText(file, LimitNotice(module));
        return Outcome::LimitReached;
    }
    std::wstring text;
    if (size == 0) text += byteOrderMark;
    // A header once a process, and again when the file was deleted meanwhile.
    if (size == 0 || headedName_ != target.name) text += LogFileHeader(target.name);
    text += QueuedBlock();
    text += lines;
    if (!WriteText(file, text)) return HoldBack(target, lines);
    headedName_ = target.name;
    unavailableName_.clear();
    queue_.clear();
    queuedCharacters_ = droppedLines_ = 0;
    return Outcome::Written;
}

LogFile::Outcome LogFile::HoldBack(const Target& target, std::wstring_view lines) {
    // Tell the debugger once an outage, not once a line.
    if (unavailableName_ != target.name) {
        OutputDebugStringW((L"Unable to open log file:\r\n<" + target.name + L">\r\n").c_str());
        unavailableName_ = target.name;
    }
    queue_.emplace_back(lines);
    queuedCharacters_ += lines.size();
    // Drop the oldest lines: the latest explain what the process is doing now.
    for (; queuedCharacters_ > mostQueuedCharacters; ++droppedLines_) {
        queuedCharacters_ -= queue_.front().size();
        queue_.pop_front();
    }
    return Outcome::HeldBack;
}

std::wstring LogFile::QueuedBlock() const {
    if (queue_.empty() && droppedLines_ == 0) return {};
    std::wstring block = L"--- Queued Lines Start ---\r\n";
    if (droppedLines_ != 0) block += FormatText(L"(%zu earlier lines were dropped)\r\n", droppedLines_);
    for (const std::wstring& lines : queue_)
        block += lines;
    return block + L"--- Queued Lines End ---\r\n";
}

}  // namespace KyUtils
