#include "base/commandline.h"

#include <algorithm>
#include <cwchar>
#include <numeric>

#include "base/exitcodes.h"
#include "base/text.h"

namespace CorvixCtl {
namespace {

constexpr std::wstring_view dashes = L"--";

bool IsOption(std::wstring_view word) {
    return word.substr(0, dashes.size()) == dashes && word.size() > dashes.size();
}

const Option* FindOption(std::wstring_view name, const OptionGroups& groups) {
    for (const OptionGroup* group : groups) {
        for (const Option& option : group->options) {
            if (name == option.name) return &option;
        }
    }
    return nullptr;
}

const Option& KnownOption(const std::wstring& name, const OptionGroups& groups) {
    if (const Option* option = FindOption(name, groups)) return *option;
    std::vector<std::wstring> words;
    for (const OptionGroup* group : groups) {
        for (const Option& option : group->options)
            words.push_back(L"--" + std::wstring(option.name));
    }
    throw UsageError(L"unknown option --" + name + DidYouMean(L"--" + name, words));
}

// The value that a word holds after its "=", if any.
std::optional<std::wstring> TakeInlineValue(std::wstring& word) {
    const size_t equals = word.find(L'=');
    if (equals == std::wstring::npos) return std::nullopt;
    std::wstring value = word.substr(equals + 1);
    word.resize(equals);
    return value;
}

// How many characters have to be replaced, added or left out to make one word of the other; of the table that
// counts them one row at a time is kept.
size_t EditDistance(std::wstring_view left, std::wstring_view right) {
    std::vector<size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (const wchar_t letter : left) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < right.size(); ++j) {
            const size_t replaced = diagonal + (letter == right[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

// All complaints about a value read alike: the option as it was typed, then what it should have been.
UsageError BadValue(std::wstring_view option, const std::wstring& text, const std::wstring& expected) {
    return UsageError(L"--" + std::wstring(option) + L" " + text + L": expected " + expected);
}

// Cuts the suffix off when the text ends with it.
bool CutSuffix(std::wstring& text, std::wstring_view suffix) {
    if (text.size() < suffix.size() || text.compare(text.size() - suffix.size(), suffix.size(), suffix) != 0)
        return false;
    text.resize(text.size() - suffix.size());
    return true;
}

}  // namespace

Arguments Arguments::Parse(const std::vector<std::wstring>& words, const OptionGroups& groups) {
    Arguments arguments;
    bool optionsEnded = false;
    for (size_t i = 0; i < words.size(); ++i) {
        // What comes after the first "--" is an operand, be it an option or another "--".
        if (optionsEnded || !IsOption(words[i])) {
            optionsEnded = optionsEnded || words[i] == dashes;
            if (optionsEnded && words[i] == dashes) continue;
            arguments.operands_.push_back(words[i]);
            continue;
        }
        std::wstring name = words[i].substr(dashes.size());
        std::optional<std::wstring> value = TakeInlineValue(name);
        const Option& option = KnownOption(name, groups);
        if (!option.placeholder && value) throw UsageError(L"--" + name + L" takes no value");
        if (option.placeholder && !value) {
            // A value that looks like an option is more likely a forgotten value: "--map --format json".
            if (i + 1 == words.size() || IsOption(words[i + 1]))
                throw UsageError(L"--" + name + L" needs a value: --" + name + L" " + option.placeholder);
            value = words[++i];
        }
        if (!arguments.values_.emplace(name, value.value_or(L"")).second)
            throw UsageError(L"--" + name + L" is given twice");
    }
    return arguments;
}

std::optional<std::wstring> Arguments::Find(std::wstring_view option) const {
    const auto found = values_.find(option);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

std::wstring Arguments::Require(std::wstring_view option, std::wstring_view purpose) const {
    const std::optional<std::wstring> value = Find(option);
    if (value && !value->empty()) return *value;
    throw UsageError(L"--" + std::wstring(option) + L" is missing: it names " + std::wstring(purpose));
}

unsigned long ReadNumber(std::wstring_view option, const std::wstring& text, unsigned long maximum) {
    const bool fits =
        IsDigits(text) && text.size() <= 9 && std::wcstoul(text.c_str(), nullptr, 10) <= maximum;
    if (!fits) throw BadValue(option, text, L"a whole number from 0 to " + std::to_wstring(maximum));
    return std::wcstoul(text.c_str(), nullptr, 10);
}

unsigned long ReadMilliseconds(std::wstring_view option, const std::wstring& text) {
    constexpr double longest = 24 * 60 * 60 * 1000.0;
    std::wstring number = text;
    double unit = 1000;
    if (CutSuffix(number, L"ms")) {
        unit = 1;
    } else {
        CutSuffix(number, L"s");
    }
    // Checked here, as the library's function takes signs, exponents and hexadecimal figures, too.
    const size_t point = std::min(number.find(L'.'), number.size());
    const bool isNumber =
        IsDigits(number.substr(0, point)) && (point == number.size() || IsDigits(number.substr(point + 1)));
    const double milliseconds = isNumber ? std::wcstod(number.c_str(), nullptr) * unit : 0;
    if (milliseconds < 1 || milliseconds > longest)
        throw BadValue(option, text,
                       L"a time such as 5, 0.5 or 800ms (seconds unless it ends in ms), a day at most");
    return static_cast<unsigned long>(milliseconds);
}

std::wstring DidYouMean(std::wstring_view typed, const std::vector<std::wstring>& words) {
    std::wstring closest;
    size_t least = 1 + typed.size() / 3;  // further away it is another word, not a slip
    for (const std::wstring& word : words) {
        const size_t distance = EditDistance(typed, word);
        // Of words that are equally close the first is proposed: options stand in the order of their use.
        if (distance > least || (distance == least && !closest.empty())) continue;
        least = distance;
        closest = word;
    }
    return closest.empty() ? L"" : L"; did you mean " + closest + L"?";
}

}  // namespace CorvixCtl
