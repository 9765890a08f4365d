#include "wire/http/authentication.h"

#include <gmock/gmock.h>

namespace Corvix::Http {
namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(Challenges, AreReadFromOneLine) {
    const auto challenges = ParseChallenges(
        R"(Negotiate YWJj==, NTLM, Basic realm="the \"printer\", 2nd floor" , DIGEST Realm=x,nonce="n",QOP="auth,auth-int")");
    ASSERT_EQ(challenges.size(), 4u);
    EXPECT_EQ(challenges[0].scheme, "negotiate");
    EXPECT_EQ(challenges[1].scheme, "ntlm");
    EXPECT_EQ(challenges[2].scheme, "basic");
    EXPECT_EQ(challenges[2].Parameter("realm"), "the \"printer\", 2nd floor");
    EXPECT_EQ(challenges[3].scheme, "digest");
    EXPECT_THAT(challenges[3].parameters,
                ElementsAre(Pair("nonce", "n"), Pair("qop", "auth,auth-int"), Pair("realm", "x")));
}

TEST(Challenges, OfNonsenseAreFew) {
    for (const std::string text : {"", ",,,", "=", "=\"x\"", "\"", "/// ,", "a=b"})
        EXPECT_EQ(ParseChallenges(text).size(), 0u) << text;
    EXPECT_EQ(ParseChallenges("Basic realm=\"never closed").size(), 1u);
    EXPECT_EQ(ParseChallenges("Basic realm=\"ends in escape\\").size(), 1u);
}

TEST(Challenges, TheStrongestOneIsChosen) {
    const struct {
        const char* header;
        const char* chosen;
    } cases[] = {
        {"Basic realm=a, Digest realm=a, nonce=b", "digest MD5"},
        {"Digest nonce=b, algorithm=MD5, Digest nonce=c, algorithm=SHA-256", "digest SHA-256"},
        {"Digest nonce=b, algorithm=SHA-512-256, Basic realm=a", "basic "},
        {"Digest nonce=b, qop=\"auth-int\", Basic realm=a", "basic "},
        {"Digest realm=without-nonce, Basic realm=a", "basic "},
        {"Digest nonce=b, algorithm=md5-SESS", "digest md5-SESS"},
        {"Negotiate, NTLM", "none"},
        {"", "none"},
    };
    for (const auto& test : cases) {
        const auto chosen = ChooseChallenge(ParseChallenges(test.header));
        std::string text = "none";
        if (chosen) text = chosen->scheme + " " + chosen->Parameter("algorithm");
        if (text == "digest ") text += "MD5";
        EXPECT_EQ(text, test.chosen) << test.header;
    }
}

TEST(Authorization, OfBasicIsInBase64) {
    const std::pair<Credentials, const char*> cases[] = {
        {{"Aladdin", "open sesame"}, "Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ=="},
        {{"a", "b"}, "Basic YTpi"},
        {{"admin", ""}, "Basic YWRtaW46"},
        {{"m\xC3\xBCller", "x"}, "Basic bcO8bGxlcjp4"},
    };
    for (const auto& [credentials, expected] : cases)
        EXPECT_EQ(MakeBasicAuthorization(credentials), expected);
}

// Shows what is hashed in place of the hash.
std::string Show(HashAlgorithm algorithm, std::string_view bytes) {
    return (algorithm == HashAlgorithm::Md5 ? "M[" : "S[") + std::string(bytes) + "]";
}

TEST(Authorization, OfDigestProvesThePassword) {
    const std::pair<const char*, std::string> cases[] = {
        {R"(Digest realm="r", nonce="n", qop="auth", opaque="o", algorithm=SHA-256)",
         R"(realm="r", nonce="n", uri="/x", response="S[S[me:r:pw]:n:0000001a:cn:auth:S[GET:/x]]", )"
         R"(algorithm=SHA-256, opaque="o", cnonce="cn", qop=auth, nc=0000001a)"},
        {"Digest realm=r, nonce=n",
         R"(realm="r", nonce="n", uri="/x", response="M[M[me:r:pw]:n:M[GET:/x]]")"},
        {"Digest realm=r, nonce=n, qop=auth, algorithm=MD5-sess",
         R"(realm="r", nonce="n", uri="/x", )"
         R"(response="M[M[M[me:r:pw]:n:cn]:n:0000001a:cn:auth:M[GET:/x]]", algorithm=MD5-sess, )"
         R"(cnonce="cn", qop=auth, nc=0000001a)"},
        {R"(Digest realm="a \"b\" \\c", nonce=n)",
         R"(realm="a \"b\" \\c", nonce="n", uri="/x", response="M[M[me:a "b" \c:pw]:n:M[GET:/x]]")"},
    };
    for (const auto& [challenge, answer] : cases)
        EXPECT_EQ(MakeDigestAuthorization(ParseChallenges(challenge).at(0), {"me", "pw"},
                                          {"GET", "/x", "cn", 26}, Show),
                  R"(Digest username="me", )" + answer);
}

}  // namespace
}  // namespace Corvix::Http
