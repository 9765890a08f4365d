// Devices that ask for a user name and a password.
#include "transport/http/hash.h"
#include "transport/httptest.h"

namespace CorvixTransport {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// The example of RFC 7616, section 3.9.1, with the system's hashes.
TEST(Digest, AgreesWithTheStandardsExample) {
    const std::pair<std::string, const char*> cases[] = {
        {"MD5", "response=\"8ca523f5e9506fed4657c9700eebdbec\""},
        {"SHA-256", "response=\"753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1\""},
    };
    for (const auto& [algorithm, response] : cases) {
        const auto challenges = Http::ParseChallenges(
            "Digest realm=\"http-auth@example.org\", qop=\"auth, auth-int\", algorithm=" + algorithm +
            ", nonce=\"7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v\", "
            "opaque=\"FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS\"");
        const std::string answer = MakeDigestAuthorization(
            challenges.at(0), {"Mufasa", "Circle of Life"},
            {"GET", "/dir/index.html", "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ", 1}, HashToHexadecimal);
        EXPECT_THAT(answer, HasSubstr(response));
    }
}

class HttpAuthentication : public HttpTest {
protected:
    HttpAuthentication() {
        options_.userName = L"admin";
        options_.password = L"secret";
    }

    // Asks with the challenge, in which "?" is the number of the request, until the request's "Authorization"
    // contains the text.
    void Demand(const std::string& challenge, const std::string& accepted) {
        answers_.clear();
        Serve([this, challenge, accepted](Peer& peer, int) {
            for (Received request; !(request = peer.ReadRequest()).IsEmpty();) {
                answers_.push_back(request.Header("Authorization"));
                bodies_.push_back(request.body);
                if (answers_.back().find(accepted) != std::string::npos) {
                    peer.Respond("welcome");
                    continue;
                }
                std::string asked = challenge;
                const size_t number = asked.find('?');
                if (number != std::string::npos) asked.replace(number, 1, std::to_string(answers_.size()));
                peer.Respond("who are you?", "401 Unauthorized", "WWW-Authenticate: " + asked + "\r\n");
            }
        });
    }

    std::vector<std::string> answers_;
    std::vector<std::string> bodies_;
};

const std::string basicAnswer = "Basic YWRtaW46c2VjcmV0";

TEST_F(HttpAuthentication, TellsBasicCredentialsOnceAskedAndRemembersTheChallenge) {
    Demand("Basic realm=\"printer\"", "Basic");
    EXPECT_EQ(GetResult(), "welcome");
    EXPECT_THAT(answers_, ElementsAre("", basicAnswer));
    EXPECT_EQ(server_->Connections(), 1);
    EXPECT_EQ(GetResult(), "welcome");
    EXPECT_THAT(answers_, ElementsAre("", basicAnswer, basicAnswer));
    Address().SetCredentials(L"a", L"b");
    EXPECT_EQ(GetResult(), "welcome");
    EXPECT_EQ(answers_.back(), "Basic YTpi");
}

TEST_F(HttpAuthentication, AnswersDigestAndCounts) {
    Demand("Digest realm=\"printer\", nonce=\"abc\", qop=\"auth\", opaque=\"xyz\"", "username=\"admin\"");
    EXPECT_EQ(GetResult(), "welcome");
    EXPECT_EQ(Result(Get(L"/other")), "welcome");
    ASSERT_EQ(answers_.size(), 3u);
    EXPECT_THAT(answers_[1], testing::AllOf(HasSubstr("nc=00000001"), HasSubstr("uri=\"/x\""),
                                            HasSubstr("opaque=\"xyz\""), HasSubstr("qop=auth")));
    EXPECT_THAT(answers_[2], testing::AllOf(HasSubstr("nc=00000002"), HasSubstr("uri=\"/other\"")));
}

TEST_F(HttpAuthentication, SendsTheBodyAgain) {
    Demand("Basic realm=a", "Basic");
    const RequestPtr request = MakePost();
    EXPECT_EQ(Send(*request, "body"), S_OK);
    EXPECT_EQ(Result(Finish(*request)), "welcome");
    EXPECT_THAT(bodies_, ElementsAre("body", "body"));
}

// A refusal is an answer, too.
TEST_F(HttpAuthentication, IsNotRepeatedWithoutHope) {
    const struct {
        const char* challenge;
        bool hasCredentials;
        size_t requests;
    } cases[] = {{"Basic realm=a", true, 2},
                 {"Digest realm=a, nonce=b, qop=auth", true, 2},
                 {"Digest realm=a, qop=auth, stale=TRUE, nonce=?", true, 3},
                 {"Negotiate", true, 1},
                 {"Basic realm=a", false, 1}};
    for (const auto& test : cases) {
        if (!test.hasCredentials) options_.userName = options_.password = L"";
        Demand(test.challenge, "never");
        const Outcome outcome = Get();
        EXPECT_EQ(outcome.status, 401u);
        EXPECT_EQ(Result(outcome), "who are you?");
        EXPECT_EQ(answers_.size(), test.requests) << test.challenge;
    }
}

TEST_F(HttpAuthentication, TakesANewNonceForAnOldOne) {
    Demand("Digest realm=a, qop=auth, stale=TRUE, nonce=n?", "n2");
    EXPECT_EQ(GetResult(), "welcome");
    EXPECT_THAT(answers_, ElementsAre("", HasSubstr("nonce=\"n1\""), HasSubstr("nonce=\"n2\"")));
}

TEST_F(HttpAuthentication, PrefersWhatTheRequestWasGiven) {
    Demand("Basic realm=a", "Basic");
    const RequestPtr own = MakeRequest();
    own->SetUserName(L"me");
    own->SetPassword(L"pw");
    const RequestPtr guest = MakeRequest();
    guest->SetUserName(L"guest");
    const RequestPtr header = MakeRequest();
    header->AddHeader(L"Authorization", L"Basic from the caller");
    for (const RequestPtr& request : {own, guest, header})
        EXPECT_EQ(Result(Finish(*request)), "welcome");
    EXPECT_THAT(answers_, ElementsAre("", "Basic bWU6cHc=", basicAnswer, "Basic from the caller"));
}

}  // namespace
}  // namespace CorvixTransport
