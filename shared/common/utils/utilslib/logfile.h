/// The file that lines are appended to.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "utilslib/handle.h"

namespace KyUtils {

/// Appends lines to a UTF-16 file that several processes may write to. The file is opened for every line: it
/// can be read, moved away or deleted at any time. One thread at a time.
class LogFile {
public:
    enum class Outcome {
        Written,
        HeldBack,      // the file is unavailable: the lines follow when it can be opened again
        LimitReached,  // the file has its greatest size: nothing was written but the notice of that
    };

    /// The name and the greatest size in bytes (0: none) of the file.
    struct Target {
        std::wstring name;
        std::uint64_t sizeLimit = 0;
    };

    /// \param lines with their line ends.
    /// \param module is named in the notice that the size limit is reached.
    Outcome Append(const Target& target, std::wstring_view module, std::wstring_view lines);

private:
    Outcome AppendTo(const Handle& file, const Target& target, std::wstring_view module,
                     std::wstring_view lines);
    Outcome HoldBack(const Target& target, std::wstring_view lines);
    std::wstring QueuedBlock() const;

    KernelMutex betweenProcesses_{L"LogFileLock"};
    std::wstring headedName_;       // of the file that this process has begun
    std::wstring unavailableName_;  // of the file that the debugger was told of
    std::deque<std::wstring> queue_;
    size_t queuedCharacters_ = 0;
    size_t droppedLines_ = 0;
};

}  // namespace KyUtils
