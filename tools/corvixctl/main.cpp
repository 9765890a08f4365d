// corvixctl: asks a printer about itself from the command line.
#include <windows.h>

#include <comdef.h>

#include <new>

#include "base/console.h"
#include "base/systemtext.h"
#include "commands/commands.h"
#include "commands/help.h"
#include "utilslib/com.h"

namespace CorvixCtl {

const std::vector<const Command*>& AllCommands() {
    static const std::vector<const Command*> commands = {&ItemsCommand(), &GetCommand(),    &SetCommand(),
                                                         &IppCommand(),   &InfoCommand(),   &PrintCommand(),
                                                         &JobsCommand(),  &CancelCommand(), &CacheCommand()};
    return commands;
}

namespace {

using Words = std::vector<std::wstring>;

bool IsHelp(const std::wstring& word) { return word == L"--help" || word == L"-h" || word == L"/?"; }

// Whether help is asked for, not a value that reads so after "--".
bool AsksForHelp(const Words& words) {
    for (const std::wstring& word : words) {
        if (word == L"--") return false;
        if (IsHelp(word)) return true;
    }
    return false;
}

const Command& FindCommand(const std::wstring& name) {
    Words names;
    for (const Command* command : AllCommands()) {
        if (name == command->name) return *command;
        names.emplace_back(command->name);
    }
    throw UsageError(L"unknown command " + name + DidYouMean(name, names) +
                     L" (corvixctl --help lists them)");
}

ExitCode Help(const std::wstring& text) {
    Print(text);
    return ExitCode::Done;
}

void CheckOperands(const Command& command, const Arguments& arguments) {
    const size_t count = arguments.Operands().size();
    if (count < command.fewestOperands)
        throw UsageError(L"usage: corvixctl " + std::wstring(command.name) + L" " + command.operands);
    if (count > command.mostOperands)
        throw UsageError(L"unexpected argument " + arguments.Operands()[command.mostOperands]);
}

ExitCode RunCommand(const Command& command, const Words& words) {
    if (AsksForHelp(words)) return Help(CommandHelp(command));
    try {
        const Arguments arguments = Arguments::Parse(words, command.options);
        CheckOperands(command, arguments);
        return command.run(arguments);
        // Whoever mistyped a command wants that command's help.
    } catch (const UsageError& error) {
        throw UsageError(error.Message() + L" (see corvixctl " + command.name + L" --help)");
    }
}

ExitCode Dispatch(Words words) {
    if (words.empty()) throw UsageError(L"name a command (corvixctl --help lists them)");
    const std::wstring first = words.front();
    words.erase(words.begin());
    if (IsHelp(first)) return Help(ProgramHelp());
    if (first == L"--version") return Help(VersionText());
    // As in other programs: "help COMMAND" is "COMMAND --help".
    if (first == L"help")
        return Help(words.empty() ? ProgramHelp() : CommandHelp(FindCommand(words.front())));
    return RunCommand(FindCommand(first), words);
}

// The one place where failures become exit codes.
ExitCode Run(Words words) {
    try {
        const KyUtils::ComApartment apartment;
        WatchForInterrupts();
        return Dispatch(std::move(words));
    } catch (const Failure& failure) {
        Complain(failure.Message());
        return failure.Code();
    } catch (const _com_error& error) {
        Complain(L"the library failed: " + SystemText(static_cast<unsigned long>(error.Error())));
        return ExitCode::Incomplete;
    } catch (const std::bad_alloc&) {
        Complain(L"out of memory");
        return ExitCode::Incomplete;
    }
}

}  // namespace
}  // namespace CorvixCtl

int wmain(int count, wchar_t** words) { return static_cast<int>(CorvixCtl::Run({words + 1, words + count})); }
