// The commands of the program, one source each.
#pragma once

#include <cstddef>
#include <vector>

#include "base/commandline.h"
#include "base/exitcodes.h"

namespace CorvixCtl {

struct Command {
    const wchar_t* name;
    const wchar_t* operands;  // how they stand in the usage line
    const wchar_t* summary;
    const wchar_t* description;
    const wchar_t* examples;  // one a line
    OptionGroups options;
    size_t fewestOperands;
    size_t mostOperands;
    ExitCode (*run)(const Arguments& arguments);
};

constexpr size_t anyNumber = static_cast<size_t>(-1);

const Command& ItemsCommand();
const Command& GetCommand();
const Command& SetCommand();
const Command& IppCommand();
const Command& InfoCommand();
const Command& CacheCommand();
const Command& PrintCommand();
const Command& JobsCommand();
const Command& CancelCommand();

// In the order of the help.
const std::vector<const Command*>& AllCommands();

}  // namespace CorvixCtl
