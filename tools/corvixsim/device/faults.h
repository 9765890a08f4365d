// What can be made to go wrong, and the rules that say when.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace CorvixSim {

enum class FaultKind {
    // Any service
    Delay,
    Truncate,
    Garbage,
    // HTTP services
    Status,
    Endless,
    Malformed,
    Doctype,
    Deep,
    Megabytes,
    Drip,
    CloseUnanswered,
    Reset,
    Refuse,
    ReceiveOnly,
    // IPP
    IppStatus,
    Omit,
    // SNMP
    Drop,
    Duplicate,
    WrongId,
    WrongType,
    WrongCommunity,
    EndOfView,
    TooBig,
    Stuck,
    ErrorStatus,
};

/// The faults that befall one exchange.
class FaultSet {
public:
    bool Empty() const { return values_.empty(); }
    bool Has(FaultKind kind) const { return values_.count(kind) != 0; }

    /// The number given with the fault; 0 without one.
    uint64_t Number(FaultKind kind) const;

    /// The text given with the fault; empty without one.
    std::string Text(FaultKind kind) const;

    void Add(FaultKind kind, std::string value) { values_[kind] = std::move(value); }
    void Merge(const FaultSet& other);

private:
    std::map<FaultKind, std::string> values_;
};

/// What a rule is held against.
struct Exchange {
    std::string_view service;  ///< "plsxml", "pavo", "ws", "ipp", "snmp"
    std::string_view path;     ///< the path of an HTTP request; the first OID of an SNMP request
    std::string_view
        operation;  ///< the IPP operation, SOAP action's last word or SNMP request type; may be empty
};

/// The rules in force. Any thread may call any operation.
class FaultTable {
public:
    /// Adds the rules that a text describes, one a line, such as
    /// "service=plsxml path=/veyra/* status=503 times=2"; empty lines say nothing.
    /// Throws std::invalid_argument with a reason when a line is no rule; then none was added.
    void Add(std::string_view text);
    void Clear();

    /// The texts of the rules, in the order added.
    std::vector<std::string> Rules() const;

    /// The faults of all rules that fit, and counts the exchange for each of these rules. A rule that names
    /// an operation fits only when the exchange names it; one that names none fits only an exchange without
    /// one, so that an exchange may be asked about twice: when its path is known, and when its operation is.
    FaultSet Match(const Exchange& exchange);

    /// Whether connections to the service are refused.
    bool Refuses(std::string_view service) const;

    /// `changed` is called after each change, from the thread that made it, and one call at a time. Once this
    /// returns the function given before is not called any more.
    void OnChange(std::function<void()> changed);

    /// A description of the rule language for people.
    static std::string Help();

private:
    struct Rule {
        std::string text;
        std::string service = "*";
        std::string path = "*";
        std::string operation;
        uint64_t skip = 0;
        uint64_t times = UINT64_MAX;
        uint64_t every = 1;
        uint64_t seen = 0;
        FaultSet faults;
    };

    void TellOfChange();
    static Rule Parse(std::string_view text);
    static void ParseWord(std::string_view word, Rule& rule);
    static bool Fits(const Rule& rule, const Exchange& exchange);
    static bool Strikes(Rule& rule);

    mutable std::mutex mutex_;
    std::vector<Rule> rules_;
    std::mutex changedMutex_;  ///< held while `changed_` runs
    std::function<void()> changed_;
};

}  // namespace CorvixSim
