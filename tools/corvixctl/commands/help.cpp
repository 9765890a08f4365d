#include "commands/help.h"

#include <algorithm>

namespace CorvixCtl {
namespace {

constexpr const wchar_t* version = CORVIX_VERSION;

struct Entry {
    std::wstring term;
    std::wstring text;
};

// Terms in one column, texts in the next.
std::wstring List(const std::vector<Entry>& entries) {
    constexpr size_t widestTerm = 28;
    size_t width = 0;
    for (const Entry& entry : entries) {
        // One long term must not push all texts to the right.
        if (entry.term.size() <= widestTerm) width = std::max(width, entry.term.size());
    }
    std::wstring list;
    for (const Entry& entry : entries) {
        list += L"  " + entry.term;
        list.append(entry.term.size() < width ? width - entry.term.size() : 0, L' ');
        list += L"  " + entry.text + L"\n";
    }
    return list;
}

std::wstring OptionTerm(const Option& option) {
    std::wstring term = L"--" + std::wstring(option.name);
    if (option.placeholder) term += L" " + std::wstring(option.placeholder);
    return term;
}

std::wstring Indented(const std::wstring& lines) {
    std::wstring text = L"  ";
    for (const wchar_t c : lines) {
        text += c;
        if (c == L'\n') text += L"  ";
    }
    return text + L"\n";
}

}  // namespace

std::wstring ProgramHelp() {
    std::vector<Entry> commands;
    for (const Command* command : AllCommands())
        commands.push_back({command->name, command->summary});
    return L"corvixctl asks a printer about itself, as an XML data map describes it or over IPP, and prints "
           L"to it.\n\n"
           L"Usage: corvixctl COMMAND [OPTION...] [OPERAND...]\n\n"
           L"Commands\n" +
           List(commands) + L"\nOptions\n" +
           List({{L"--help", L"this text; after a command, that command's"},
                 {L"--version", L"the program's version"}}) +
           L"\nExit codes\n" +
           List({{L"0", L"everything that was asked for was answered"},
                 {L"1", L"some of it failed"},
                 {L"2", L"the command line is wrong"},
                 {L"3", L"the device is not reachable"},
                 {L"4", L"the data map cannot be read"},
                 {L"5", L"the printer did not take the job, as when it is busy"},
                 {L"6", L"the job was aborted, or broke off on its way to the printer"},
                 {L"7", L"the job was canceled, at the printer or by somebody else"},
                 {L"130", L"interrupted with Ctrl-C; print cancels its job then"}}) +
           L"\nExamples\n"
           L"  corvixctl items maps/plsxml.xml\n"
           L"  corvixctl get --device 192.0.2.7 --map maps/plsxml.xml\n"
           L"  corvixctl info --device 192.0.2.7\n"
           L"  corvixctl get --help\n\n"
           L"Values go to standard output as UTF-8, everything else to standard error.\n";
}

std::wstring CommandHelp(const Command& command) {
    std::wstring text = L"corvixctl " + std::wstring(command.name) + L": " + command.summary + L"\n\n" +
                        L"Usage: corvixctl " + command.name + L" " + command.operands + L"\n\n" +
                        command.description + L"\n";
    for (const OptionGroup* group : command.options) {
        std::vector<Entry> options;
        for (const Option& option : group->options)
            options.push_back({OptionTerm(option), option.help});
        text += L"\n" + std::wstring(group->title) + L"\n" + List(options);
    }
    return text + L"\nExamples\n" + Indented(command.examples);
}

std::wstring VersionText() { return L"corvixctl " + std::wstring(version) + L"\n"; }

}  // namespace CorvixCtl
