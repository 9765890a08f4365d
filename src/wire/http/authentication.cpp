#include "wire/http/authentication.h"

#include <algorithm>
#include <cstdio>

#include "wire/ascii.h"
#include "wire/http/headers.h"

namespace Corvix::Http {

namespace {

// Goes over a header value from left to right.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    bool AtEnd() const { return rest_.empty(); }
    bool At(char c) const { return !rest_.empty() && rest_.front() == c; }

    void SkipBlanks() { Skip(" \t"); }
    void SkipSeparators() { Skip(" \t,"); }
    void SkipWord() { rest_.remove_prefix(std::min(rest_.find_first_of(" \t,"), rest_.size())); }

    bool Take(char c) {
        if (!At(c)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    std::string_view TakeToken() {
        size_t length = 0;
        while (length < rest_.size() && IsToken(rest_.substr(length, 1)))
            ++length;
        const std::string_view token = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return token;
    }

    // A token or a quoted text, without the quotes and escapes. False when the quote is never closed.
    bool TakeValue(std::string& value) {
        if (!Take('"')) {
            value = TakeToken();
            return true;
        }
        value.clear();
        while (!AtEnd() && !At('"')) {
            Take('\\');
            if (AtEnd()) break;
            value += rest_.front();
            rest_.remove_prefix(1);
        }
        return Take('"');
    }

private:
    void Skip(std::string_view characters) {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(characters), rest_.size()));
    }

    std::string_view rest_;
};

// "name = value" of the challenge in hand. False when the list cannot be read any further.
bool TakeParameterValue(Scanner& scanner, std::string_view name, std::vector<Challenge>& challenges) {
    scanner.SkipBlanks();
    if (challenges.empty()) return false;
    if (scanner.At('=') || scanner.At(',') || scanner.AtEnd()) {
        scanner.SkipWord();  // the padding of a "Negotiate" text, which is no parameter
        return true;
    }
    std::string value;
    if (!scanner.TakeValue(value)) return false;
    challenges.back().parameters.emplace(Ascii::ToLower(name), value);
    return true;
}

struct DigestAlgorithm {
    std::string_view name;
    HashAlgorithm hash;
    // The password's hash is mixed with the two nonces once for the whole use of a challenge.
    bool isSession;
};

constexpr DigestAlgorithm digestAlgorithms[] = {
    {"SHA-256", HashAlgorithm::Sha256, false},
    {"SHA-256-sess", HashAlgorithm::Sha256, true},
    {"MD5", HashAlgorithm::Md5, false},
    {"MD5-sess", HashAlgorithm::Md5, true},
};

const DigestAlgorithm* FindAlgorithm(const Challenge& challenge) {
    const std::string name = challenge.Parameter("algorithm");
    for (const DigestAlgorithm& algorithm : digestAlgorithms) {
        if (Ascii::EqualsIgnoringCase(name.empty() ? "MD5" : name, algorithm.name)) return &algorithm;
    }
    return nullptr;
}

bool OffersQop(const Challenge& challenge, std::string_view wanted) {
    const std::string offered = challenge.Parameter("qop");
    const std::vector<std::string_view> qops = SplitList(offered);
    return std::any_of(qops.begin(), qops.end(),
                       [&](std::string_view qop) { return Ascii::EqualsIgnoringCase(qop, wanted); });
}

// 0 for a challenge that we cannot answer; the higher the better.
int StrengthOf(const Challenge& challenge) {
    if (challenge.scheme == "basic") return 1;
    if (challenge.scheme != "digest" || challenge.Parameter("nonce").empty()) return 0;
    if (!challenge.Parameter("qop").empty() && !OffersQop(challenge, "auth")) return 0;
    const DigestAlgorithm* algorithm = FindAlgorithm(challenge);
    if (!algorithm) return 0;
    return algorithm->hash == HashAlgorithm::Sha256 ? 3 : 2;
}

std::string Quote(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

std::string ToBase64(std::string_view bytes) {
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const std::string_view group = bytes.substr(i, 3);
        unsigned bits = 0;
        for (size_t k = 0; k < 3; ++k)
            bits = bits << 8 | (k < group.size() ? static_cast<unsigned char>(group[k]) : 0u);
        for (size_t k = 0; k < 4; ++k)
            text += k <= group.size() ? alphabet[bits >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

std::string NonceCount(unsigned count) {
    char text[16];
    std::snprintf(text, sizeof text, "%08x", count);
    return text;
}

}  // namespace

/// Commas separate challenges as well as parameters: a word that "=" follows is a parameter, any other a new scheme.
std::vector<Challenge> ParseChallenges(std::string_view headerValue) {
    std::vector<Challenge> challenges;
    Scanner scanner(headerValue);
    for (scanner.SkipSeparators(); !scanner.AtEnd(); scanner.SkipSeparators()) {
        const std::string_view word = scanner.TakeToken();
        // What cannot be read is skipped, as long as it may be a part of the challenge before it.
        if (word.empty()) {
            if (challenges.empty()) break;
            scanner.SkipWord();
            continue;
        }
        scanner.SkipBlanks();
        if (!scanner.Take('=')) {
            challenges.push_back({Ascii::ToLower(word), {}});
        } else if (!TakeParameterValue(scanner, word, challenges)) {
            break;
        }
    }
    return challenges;
}

std::optional<Challenge> ChooseChallenge(const std::vector<Challenge>& challenges) {
    const auto best = std::max_element(
        challenges.begin(), challenges.end(),
        [](const Challenge& a, const Challenge& b) { return StrengthOf(a) < StrengthOf(b); });
    if (best == challenges.end() || StrengthOf(*best) == 0) return std::nullopt;
    return *best;
}

std::string MakeBasicAuthorization(const Credentials& credentials) {
    return "Basic " + ToBase64(credentials.userName + ":" + credentials.password);
}

std::string MakeDigestAuthorization(const Challenge& challenge, const Credentials& credentials,
                                    const DigestUse& use, const HashFunction& hash) {
    const DigestAlgorithm* algorithm = FindAlgorithm(challenge);
    const std::string realm = challenge.Parameter("realm");
    const std::string nonce = challenge.Parameter("nonce");
    const auto digest = [&](const std::string& text) { return hash(algorithm->hash, text); };

    std::string secret = digest(credentials.userName + ":" + realm + ":" + credentials.password);
    if (algorithm->isSession) secret = digest(secret + ":" + nonce + ":" + use.clientNonce);
    const std::string action = digest(use.method + ":" + use.target);
    const bool withQop = OffersQop(challenge, "auth");
    // Devices older than RFC 2617 know neither count nor client nonce.
    const std::string proof =
        withQop ? nonce + ":" + NonceCount(use.count) + ":" + use.clientNonce + ":auth:" + action
                : nonce + ":" + action;

    std::string text = "Digest username=" + Quote(credentials.userName) + ", realm=" + Quote(realm) +
                       ", nonce=" + Quote(nonce) + ", uri=" + Quote(use.target) + ", response=\"" +
                       digest(secret + ":" + proof) + "\"";
    // Only what the device said is repeated: some refuse an algorithm that they did not name.
    if (challenge.parameters.count("algorithm")) text += ", algorithm=" + std::string(algorithm->name);
    if (challenge.parameters.count("opaque")) text += ", opaque=" + Quote(challenge.Parameter("opaque"));
    if (withQop || algorithm->isSession) text += ", cnonce=" + Quote(use.clientNonce);
    if (withQop) text += ", qop=auth, nc=" + NonceCount(use.count);
    return text;
}

}  // namespace Corvix::Http
