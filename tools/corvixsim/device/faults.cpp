#include "device/faults.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "base/text.h"

namespace CorvixSim {
namespace {

enum class Argument { None, Number, Text };

struct FaultWord {
    std::string_view word;
    FaultKind kind;
    Argument argument;
    std::string_view help;
};

constexpr FaultWord kFaultWords[] = {
    {"delay", FaultKind::Delay, Argument::Number, "answer N milliseconds late"},
    {"truncate", FaultKind::Truncate, Argument::Number,
     "stop after N bytes of the body (SNMP: of the datagram)"},
    {"garbage", FaultKind::Garbage, Argument::None, "answer with bytes that are not of the protocol"},
    {"status", FaultKind::Status, Argument::Number, "HTTP: answer with status N and a short text"},
    {"endless", FaultKind::Endless, Argument::None,
     "HTTP: a body that never ends; SNMP: a walk that never ends"},
    {"malformed", FaultKind::Malformed, Argument::None, "HTTP: XML whose last closing tag is missing"},
    {"doctype", FaultKind::Doctype, Argument::None,
     "HTTP: XML with a document type declaration and entities"},
    {"deep", FaultKind::Deep, Argument::Number, "HTTP: XML with N more levels of elements"},
    {"megabytes", FaultKind::Megabytes, Argument::Number, "HTTP: a body that is N megabytes longer"},
    {"drip", FaultKind::Drip, Argument::Number, "HTTP: one byte of the body every N milliseconds"},
    {"close", FaultKind::CloseUnanswered, Argument::None, "HTTP: close the connection without an answer"},
    {"reset", FaultKind::Reset, Argument::None, "HTTP: reset the connection without an answer"},
    {"refuse", FaultKind::Refuse, Argument::None, "HTTP: refuse connections (heeds service= only)"},
    {"receive", FaultKind::ReceiveOnly, Argument::Number,
     "HTTP: reset once N bytes of the request body came"},
    {"ipp-status", FaultKind::IppStatus, Argument::Number, "IPP: answer with IPP status N (1287 is busy)"},
    {"omit", FaultKind::Omit, Argument::Text, "IPP: leave the attribute of this name out of answers"},
    {"drop", FaultKind::Drop, Argument::None, "SNMP: no answer"},
    {"duplicate", FaultKind::Duplicate, Argument::None, "SNMP: the same answer twice"},
    {"wrong-id", FaultKind::WrongId, Argument::None, "SNMP: an answer with another request id"},
    {"wrong-type", FaultKind::WrongType, Argument::None, "SNMP: text for numbers and numbers for text"},
    {"wrong-community", FaultKind::WrongCommunity, Argument::None, "SNMP: an answer with another community"},
    {"end-of-view", FaultKind::EndOfView, Argument::None, "SNMP: nothing exists after the OID asked for"},
    {"too-big", FaultKind::TooBig, Argument::None, "SNMP: error status tooBig"},
    {"stuck", FaultKind::Stuck, Argument::None, "SNMP: get-next answers the OID that it was asked for"},
    {"error", FaultKind::ErrorStatus, Argument::Number, "SNMP: error status N"},
};

const FaultWord* FindWord(std::string_view word) {
    for (const FaultWord& known : kFaultWords) {
        if (known.word == word) return &known;
    }
    return nullptr;
}

uint64_t NumberOf(std::string_view word, std::string_view value) {
    // 32 bits: as milliseconds or bytes more than anybody waits for.
    const auto number = ParseNumber(value, UINT32_MAX);
    if (!number) throw std::invalid_argument(std::string(word) + " needs a number");
    return *number;
}

std::string CheckedArgument(const FaultWord& word, bool given, std::string_view value) {
    if (word.argument == Argument::None) {
        if (given) throw std::invalid_argument(std::string(word.word) + " takes no value");
        return {};
    }
    if (value.empty()) throw std::invalid_argument(std::string(word.word) + " needs a value");
    if (word.argument == Argument::Number) NumberOf(word.word, value);
    return std::string(value);
}

}  // namespace

uint64_t FaultSet::Number(FaultKind kind) const { return ParseNumber(Text(kind), UINT64_MAX).value_or(0); }

std::string FaultSet::Text(FaultKind kind) const {
    const auto found = values_.find(kind);
    return found == values_.end() ? std::string() : found->second;
}

void FaultSet::Merge(const FaultSet& other) {
    for (const auto& [kind, value] : other.values_)
        values_[kind] = value;
}

void FaultTable::Add(std::string_view text) {
    // All are parsed before any is added: a mistake in the last line leaves the table as it was.
    std::vector<Rule> rules;
    for (const std::string_view line : SplitLines(text)) {
        if (!Trim(line).empty()) rules.push_back(Parse(line));
    }
    {
        const std::lock_guard lock(mutex_);
        std::move(rules.begin(), rules.end(), std::back_inserter(rules_));
    }
    TellOfChange();
}

void FaultTable::Clear() {
    {
        const std::lock_guard lock(mutex_);
        rules_.clear();
    }
    TellOfChange();
}

void FaultTable::OnChange(std::function<void()> changed) {
    const std::lock_guard lock(changedMutex_);
    changed_ = std::move(changed);
}

void FaultTable::TellOfChange() {
    // Not under the lock of the rules: the listener asks which services are refused.
    const std::lock_guard lock(changedMutex_);
    if (changed_) changed_();
}

std::vector<std::string> FaultTable::Rules() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> texts;
    for (const Rule& rule : rules_)
        texts.push_back(rule.text);
    return texts;
}

FaultSet FaultTable::Match(const Exchange& exchange) {
    const std::lock_guard lock(mutex_);
    FaultSet faults;
    for (Rule& rule : rules_) {
        if (Fits(rule, exchange) && Strikes(rule)) faults.Merge(rule.faults);
    }
    return faults;
}

bool FaultTable::Refuses(std::string_view service) const {
    const std::lock_guard lock(mutex_);
    for (const Rule& rule : rules_) {
        if (rule.faults.Has(FaultKind::Refuse) && MatchesPattern(rule.service, service)) return true;
    }
    return false;
}

FaultTable::Rule FaultTable::Parse(std::string_view text) {
    Rule rule;
    rule.text = Trim(text);
    for (std::string_view rest = text;;) {
        const std::string_view word = TakeWord(rest);
        if (word.empty()) break;
        ParseWord(word, rule);
    }
    if (rule.faults.Empty()) throw std::invalid_argument("the rule names no fault: \"" + rule.text + "\"");
    return rule;
}

void FaultTable::ParseWord(std::string_view word, Rule& rule) {
    const size_t equals = word.find('=');
    const std::string_view name = word.substr(0, equals);
    const std::string_view value = equals == std::string_view::npos ? "" : word.substr(equals + 1);
    if (name == "service") {
        rule.service = value;
    } else if (name == "path") {
        rule.path = value;
    } else if (name == "operation") {
        rule.operation = value;
    } else if (name == "skip") {
        rule.skip = NumberOf(name, value);
    } else if (name == "times") {
        rule.times = NumberOf(name, value);
    } else if (name == "every") {
        rule.every = NumberOf(name, value);
        if (rule.every == 0) throw std::invalid_argument("every needs a number above 0");
    } else if (const FaultWord* known = FindWord(name)) {
        rule.faults.Add(known->kind, CheckedArgument(*known, equals != std::string_view::npos, value));
    } else {
        throw std::invalid_argument("unknown word in a fault rule: " + std::string(name));
    }
}

bool FaultTable::Fits(const Rule& rule, const Exchange& exchange) {
    // See Match(): each question is answered by the rules of its kind only.
    return rule.operation.empty() == exchange.operation.empty() &&
           MatchesPattern(rule.operation, exchange.operation) &&
           MatchesPattern(rule.service, exchange.service) && MatchesPattern(rule.path, exchange.path);
}

bool FaultTable::Strikes(Rule& rule) {
    // Counted whether it strikes or not, so that "every third" is every third of those that fit.
    const uint64_t seen = rule.seen++;
    if (seen < rule.skip) return false;
    const uint64_t place = seen - rule.skip;
    return place % rule.every == rule.every - 1 && place / rule.every < rule.times;
}

std::string FaultTable::Help() {
    std::string help =
        "A fault rule is a line of words. Which exchanges it is for:\n"
        "  service=NAME     plsxml, pavo, ws, ipp or snmp; '*' stands for anything (default: every service)\n"
        "  path=PATTERN     the path of an HTTP request or the first OID of an SNMP request\n"
        "  operation=NAME   the IPP operation (Get-Jobs), SOAP action (Get) or SNMP request (getnext)\n"
        "  skip=N           leave the first N of them unharmed\n"
        "  every=N          strike every N-th only\n"
        "  times=N          strike N times in all\n"
        "What happens to them:\n";
    for (const FaultWord& known : kFaultWords) {
        std::string word(known.word);
        if (known.argument == Argument::Number) word += "=N";
        if (known.argument == Argument::Text) word += "=NAME";
        word.resize(std::max<size_t>(word.size() + 1, 17), ' ');
        help += "  " + word + std::string(known.help) + "\n";
    }
    return help;
}

}  // namespace CorvixSim
