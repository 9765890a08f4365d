#include "datamodel/dom/xslpattern.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace Corvix {
namespace {

constexpr std::wstring_view blanks = L" \t\r\n";
/// Longer operators first, so that "<=" is not read as "<".
constexpr std::wstring_view signOperators[] = {L"!=", L"<=", L">=", L"=", L"<", L">"};
constexpr std::wstring_view wordOperators[] = {L"and", L"or"};

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

bool BeginsName(wchar_t c) {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z') || c == L'_' || c >= 0x80;
}

bool ContinuesName(wchar_t c) { return BeginsName(c) || IsDigit(c) || c == L'-' || c == L'.'; }

/// What stands between the brackets of a predicate.
enum class Content { Path, Number, Call, Comparison };

/// A recursive-descent recogniser: each function consumes what it is named after, or returns false.
class PatternReader {
public:
    explicit PatternReader(std::wstring_view text) : text_(text), rest_(text) {}

    bool ReadToEnd() { return Expression() && AtEnd(); }

    /// The expression with what it takes to make its predicates plain.
    std::wstring Plain() const {
        std::wstring plain;
        size_t done = 0;
        for (const auto& [position, insertion] : insertions_) {
            plain.append(text_.substr(done, position - done)).append(insertion);
            done = position;
        }
        return plain.append(text_.substr(done));
    }

private:
    bool Expression() {
        // Hostile nesting would overflow the stack.
        if (++depth_ > deepest) return false;
        SkipBlanks();
        const size_t begin = Position();
        bool good = Operand();
        Content content = OperandSince(begin);
        while (good && Operator(content))
            good = Operand();
        content_ = content;
        --depth_;
        return good;
    }

    Content OperandSince(size_t begin) const {
        if (begin == beginOfNumber_) return Content::Number;
        return begin == beginOfCall_ && Position() == endOfCall_ ? Content::Call : Content::Path;
    }

    bool Operator(Content& content) {
        const bool isUnion = Take(L"|");
        if (!isUnion && !Comparison()) return false;
        if (!isUnion) content = Content::Comparison;
        if (content != Content::Comparison) content = Content::Path;
        return true;
    }

    bool Comparison() {
        const auto take = [this](std::wstring_view text) { return Take(text); };
        const auto takeWord = [this](std::wstring_view text) { return TakeWord(text); };
        return std::any_of(std::begin(signOperators), std::end(signOperators), take) ||
               std::any_of(std::begin(wordOperators), std::end(wordOperators), takeWord);
    }

    bool Operand() {
        if (Literal() || Number()) return true;
        if (Take(L"(")) return Expression() && Take(L")") && Predicates() && (!Slash() || Steps());
        if (Take(L"//")) return Steps();
        if (Take(L"/")) return !IsAtStep() || Steps();
        return Steps();
    }

    bool Literal() {
        SkipBlanks();
        if (rest_.empty() || (rest_.front() != L'"' && rest_.front() != L'\'')) return false;
        const size_t end = rest_.find(rest_.front(), 1);
        if (end == std::wstring_view::npos) return false;
        rest_.remove_prefix(end + 1);
        return true;
    }

    bool Number() {
        SkipBlanks();
        const size_t begin = Position();
        if (!Digits()) return false;
        beginOfNumber_ = begin;
        return rest_.size() < 2 || rest_[0] != L'.' || !IsDigit(rest_[1]) ||
               (rest_.remove_prefix(1), Digits());
    }

    bool Digits() { return TakeWhile(IsDigit); }

    bool Slash() { return Take(L"//") || Take(L"/"); }

    bool Steps() {
        while (Step()) {
            if (!Slash()) return true;
        }
        return false;
    }

    bool IsAtStep() {
        SkipBlanks();
        return !rest_.empty() && (BeginsName(rest_.front()) ||
                                  std::wstring_view(L"*@.").find(rest_.front()) != std::wstring_view::npos);
    }

    bool Step() {
        if (Take(L"..")) return true;
        if (Take(L".")) return Predicates();
        if (Take(L"@")) return (Take(L"*") || QualifiedName()) && Predicates();
        SkipAxis();
        return NodeTest() && Predicates();
    }

    void SkipAxis() {
        const std::wstring_view before = rest_;
        if (!Name() || !Take(L"::")) rest_ = before;
    }

    bool NodeTest() {
        if (Take(L"*")) return true;
        SkipBlanks();
        const size_t begin = Position();
        if (!QualifiedName()) return false;
        if (!Take(L"(")) return true;
        if (!Take(L")") && !Arguments()) return false;
        beginOfCall_ = begin;
        endOfCall_ = Position();
        return true;
    }

    bool Arguments() {
        while (Expression()) {
            if (!Take(L",")) return Take(L")");
        }
        return false;
    }

    bool Predicates() {
        while (Take(L"[")) {
            const size_t begin = Position();
            if (!Expression()) return false;
            if (content_ == Content::Path) {
                insertions_[begin] = L"not(not(";
                insertions_[Position()] = L"))";
            }
            if (!Take(L"]")) return false;
        }
        return true;
    }

    bool QualifiedName() { return Name() && (!Take(L":") || Take(L"*") || Name()); }

    bool Name() {
        SkipBlanks();
        if (rest_.empty() || !BeginsName(rest_.front()) || IsAtOperator()) return false;
        return TakeWhile(ContinuesName);
    }

    /// A pattern has no names that are operators.
    bool IsAtOperator() {
        const std::wstring_view before = rest_;
        const bool isOperator = Comparison();
        rest_ = before;
        return isOperator;
    }

    template <class Predicate>
    bool TakeWhile(Predicate belongs) {
        const auto end = std::find_if_not(rest_.begin(), rest_.end(), belongs);
        const auto count = static_cast<size_t>(end - rest_.begin());
        rest_.remove_prefix(count);
        return count > 0;
    }

    bool Take(std::wstring_view text) {
        SkipBlanks();
        if (rest_.substr(0, text.size()) != text) return false;
        rest_.remove_prefix(text.size());
        return true;
    }

    bool TakeWord(std::wstring_view word) {
        const std::wstring_view before = rest_;
        if (Take(word) && (rest_.empty() || !ContinuesName(rest_.front()))) return true;
        rest_ = before;
        return false;
    }

    void SkipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(blanks), rest_.size())); }

    bool AtEnd() {
        SkipBlanks();
        return rest_.empty();
    }

    size_t Position() const { return text_.size() - rest_.size(); }

    static constexpr int deepest = 100;
    static constexpr size_t nowhere = std::wstring_view::npos;

    const std::wstring_view text_;
    std::wstring_view rest_;
    int depth_ = 0;
    size_t beginOfNumber_ = nowhere;  // the last one's, and the last call's
    size_t beginOfCall_ = nowhere;
    size_t endOfCall_ = nowhere;
    Content content_ = Content::Path;  // of the last expression
    std::map<size_t, const wchar_t*> insertions_;
};

}  // namespace

std::optional<std::wstring> ToPlainXslPattern(std::wstring_view expression) {
    PatternReader reader(expression);
    if (!reader.ReadToEnd()) return std::nullopt;
    return reader.Plain();
}

}  // namespace Corvix
