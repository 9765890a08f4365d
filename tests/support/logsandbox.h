// A log of the test's own: its settings, its file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "support/registrysandbox.h"
#include "support/tempfile.h"
#include "utilslib/logging.h"

namespace CorvixTest {

/// Switches the log on, into a file of its own and with settings of its own, and off again in the end.
class LogSandbox {
public:
    static constexpr wchar_t settingsKey[] = L"Software\\Veyra\\Ky\\Logging";
    static constexpr DWORD neverAgain = 0x7FFFFFFF;

    LogSandbox() {
        SetNumber(L"LogParmsPollTime", neverAgain);
        SetText(L"LogFileName", file_.Name());
        KyUtils::RereadLogSettings();
    }
    LogSandbox(const LogSandbox&) = delete;
    LogSandbox& operator=(const LogSandbox&) = delete;
    ~LogSandbox() {
        RegDeleteTreeW(HKEY_CURRENT_USER, settingsKey);
        KyUtils::RereadLogSettings();
    }

    void SetNumber(const wchar_t* name, DWORD number) const {
        registry_.SetNumber(settingsKey, name, number);
    }
    void SetText(const wchar_t* name, const std::wstring& text) const {
        registry_.SetText(settingsKey, name, text);
    }
    /// The same, taking effect at once.
    void Use(const wchar_t* name, DWORD number) const {
        SetNumber(name, number);
        KyUtils::RereadLogSettings();
    }
    void Use(const wchar_t* name, const std::wstring& text) const {
        SetText(name, text);
        KyUtils::RereadLogSettings();
    }

    const RegistrySandbox& Registry() const { return registry_; }
    const TempFile& File() const { return file_; }

    /// The lines of the log file without their line ends, header lines included.
    std::vector<std::wstring> AllLines() const { return LinesOf(file_); }
    /// The lines after the header.
    std::vector<std::wstring> Lines() const {
        std::vector<std::wstring> lines = AllLines();
        lines.erase(lines.begin(), lines.begin() + (lines.size() < headerLines ? 0 : headerLines));
        return lines;
    }

    static std::vector<std::wstring> LinesOf(const TempFile& file) {
        const std::string bytes = file.Bytes();
        std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
        bytes.copy(reinterpret_cast<char*>(text.data()), text.size() * sizeof(wchar_t));
        std::vector<std::wstring> lines;
        size_t begin = !text.empty() && text[0] == L'\xFEFF' ? 1 : 0;
        for (size_t end = 0; (end = text.find(L"\r\n", begin)) != text.npos; begin = end + 2) {
            lines.push_back(text.substr(begin, end - begin));
        }
        if (begin < text.size()) lines.push_back(L"(unended) " + text.substr(begin));
        return lines;
    }

private:
    static constexpr size_t headerLines = 6;

    RegistrySandbox registry_;
    TempFile file_;
};

}  // namespace CorvixTest
