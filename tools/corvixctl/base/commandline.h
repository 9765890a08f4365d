// Reads a command's options and operands from the command line.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CorvixCtl {

struct Option {
    const wchar_t* name;         // without the dashes
    const wchar_t* placeholder;  // what stands for its value in the help; null for a switch
    const wchar_t* help;
};

// Options that belong together, shared by the commands that take them.
struct OptionGroup {
    const wchar_t* title;
    std::vector<Option> options;
};
using OptionGroups = std::vector<const OptionGroup*>;

// What one command was given.
class Arguments {
public:
    // Options may stand anywhere, as "--name value" or "--name=value"; "--" ends them.
    // Throws UsageError for an option that is unknown, given twice, or lacks its value.
    static Arguments Parse(const std::vector<std::wstring>& words, const OptionGroups& groups);

    bool Has(std::wstring_view option) const { return values_.find(option) != values_.end(); }
    std::optional<std::wstring> Find(std::wstring_view option) const;
    // Throws UsageError when the option is missing; `purpose` says what it is needed for.
    std::wstring Require(std::wstring_view option, std::wstring_view purpose) const;
    const std::vector<std::wstring>& Operands() const { return operands_; }

private:
    std::map<std::wstring, std::wstring, std::less<>> values_;
    std::vector<std::wstring> operands_;
};

// The number that an option's value says, or UsageError.
unsigned long ReadNumber(std::wstring_view option, const std::wstring& text, unsigned long maximum);
// A time such as "2.5" (seconds), "2.5s" or "800ms", in milliseconds.
unsigned long ReadMilliseconds(std::wstring_view option, const std::wstring& text);

// "; did you mean X?" with the word of a list that a mistyped one was meant to be, or nothing.
std::wstring DidYouMean(std::wstring_view typed, const std::vector<std::wstring>& words);

}  // namespace CorvixCtl
