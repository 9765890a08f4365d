// The program's help and version texts.
#pragma once

#include <string>

#include "commands/commands.h"

namespace CorvixCtl {

std::wstring ProgramHelp();
std::wstring CommandHelp(const Command& command);
std::wstring VersionText();

}  // namespace CorvixCtl
