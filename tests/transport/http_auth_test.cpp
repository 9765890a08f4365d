// Devices that ask for a user name and a password.
#include "transport/http/hash.h"
#include "transport/httptest.h"

namespace CorvixTransport {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

// The example of RFC 7616, section 3.9.1, with the system's hashes.
TEST(Digest, AgreesWithTheStandardsExample) {
    const struct {
        const char* algorithm;
        const char* response;
    } cases[] = {
        {"MD5", "8ca523f5e9506fed4657c9700eebdbec"},
        {"SHA-256", "753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1"},
    };
    for (const auto& test : cases) {
        const auto challenges = Http::ParseChallenges(
            "Digest realm=\"http-auth@example.org\", qop=\"auth, auth-int\", algorithm=" +
            std::string(test.algorithm) +
            ", nonce=\"7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v\", "
            "opaque=\"FQhe/qaU925kfnzjCev0ciny7QMkPqMAFRtzCUYo5tdS\"");
        const std::string answer = MakeDigestAuthorization(
            challenges.at(0), {"Mufasa", "Circle of Life"},
            {"GET", "/dir/index.html", "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ", 1}, HashToHexadecimal);
        EXPECT_THAT(answer, HasSubstr(std::string("response=\"") + test.response + "\""));
    }
}

class HttpAuthentication : public HttpTest {
protected:
    HttpAuthentication() {
        options_.userName = L"admin";
        options_.password = L"secret";
    }

    // Asks with the challenge until the request's "Authorization" line contains the text.
    void Demand(const std::string& challenge, const std::string& accepted) {
        Serve([this, challenge, accepted](Peer& peer, int) {
            for (std::string request; !(request = peer.ReadRequest()).empty();) {
                const std::string line = HeaderLine(request, "Authorization");
                answers_.push_back(line);
                if (!line.empty() && line.find(accepted) != std::string::npos) {
                    peer.Respond("welcome");
                } else {
                    peer.Respond("who are you?", "401 Unauthorized",
                                 "WWW-Authenticate: " + challenge + "\r\n");
                }
            }
        });
    }

    std::vector<std::string> answers_;
};

const std::string basicAnswer = "Authorization: Basic YWRtaW46c2VjcmV0";

TEST_F(HttpAuthentication, TellsBasicCredentialsOnlyWhenAsked) {
    Demand("Basic realm=\"printer\"", "Basic");
    EXPECT_EQ(Get().body, "welcome");
    EXPECT_THAT(answers_, ElementsAre("", basicAnswer));
    EXPECT_EQ(server_->Connections(), 1);
}

TEST_F(HttpAuthentication, RemembersTheChallenge) {
    Demand("Basic realm=\"printer\"", "Basic");
    Get();
    EXPECT_EQ(Get().body, "welcome");
    EXPECT_THAT(answers_, ElementsAre("", basicAnswer, basicAnswer));
}

TEST_F(HttpAuthentication, AnswersDigestAndCounts) {
    Demand("Digest realm=\"printer\", nonce=\"abc\", qop=\"auth\", opaque=\"xyz\"", "username=\"admin\"");
    EXPECT_EQ(Get().body, "welcome");
    EXPECT_EQ(Get(L"/other").body, "welcome");
    ASSERT_EQ(answers_.size(), 3u);
    EXPECT_THAT(answers_[1], testing::AllOf(HasSubstr("nc=00000001"), HasSubstr("uri=\"/x\""),
                                            HasSubstr("opaque=\"xyz\""), HasSubstr("qop=auth")));
    EXPECT_THAT(answers_[2], testing::AllOf(HasSubstr("nc=00000002"), HasSubstr("uri=\"/other\"")));
}

TEST_F(HttpAuthentication, SendsTheBodyAgain) {
    std::vector<std::string> bodies;
    Serve([&bodies](Peer& peer, int) {
        for (std::string request; !(request = peer.ReadRequest()).empty();) {
            bodies.push_back(request.substr(request.find("\r\n\r\n") + 4));
            const bool first = bodies.size() == 1;
            peer.Respond("x", first ? "401 No" : "200 OK",
                         first ? "WWW-Authenticate: Basic realm=a\r\n" : "");
        }
    });
    const RequestPtr request = MakeRequest(L"/", L"POST");
    request->SetContentType(L"application/ipp");
    EXPECT_EQ(Send(*request, "body"), S_OK);
    EXPECT_EQ(Finish(*request).status, 200u);
    EXPECT_THAT(bodies, ElementsAre("body", "body"));
    StopServing();
}

TEST_F(HttpAuthentication, ThatFailsIsNotRepeated) {
    for (const char* challenge : {"Basic realm=a", "Digest realm=a, nonce=b, qop=auth"}) {
        answers_.clear();
        Demand(challenge, "never");
        const Outcome outcome = Get();
        EXPECT_EQ(outcome.result, S_OK) << "a refusal is an answer, too";
        EXPECT_EQ(outcome.status, 401u);
        EXPECT_EQ(outcome.body, "who are you?");
        EXPECT_EQ(answers_.size(), 2u) << challenge;
        StopServing();
    }
}

TEST_F(HttpAuthentication, TakesANewNonceForAnOldOne) {
    Serve([this](Peer& peer, int) {
        for (std::string request; !(request = peer.ReadRequest()).empty();) {
            answers_.push_back(HeaderLine(request, "Authorization"));
            const std::string nonce = answers_.size() < 2 ? "old" : "new";
            if (answers_.size() == 3) {
                peer.Respond("welcome");
            } else {
                peer.Respond(
                    "", "401 No",
                    "WWW-Authenticate: Digest realm=a, qop=auth, stale=TRUE, nonce=" + nonce + "\r\n");
            }
        }
    });
    EXPECT_EQ(Get().body, "welcome");
    EXPECT_THAT(answers_, ElementsAre("", HasSubstr("nonce=\"old\""), HasSubstr("nonce=\"new\"")));
}

TEST_F(HttpAuthentication, WithoutCredentialsIsUpToTheCaller) {
    options_.userName.clear();
    options_.password.clear();
    Demand("Basic realm=a", "Basic");
    EXPECT_EQ(Get().status, 401u);
    EXPECT_THAT(answers_, ElementsAre(""));
}

TEST_F(HttpAuthentication, WithAnUnknownSchemeIsUpToTheCaller) {
    Demand("Negotiate", "never");
    EXPECT_EQ(Get().status, 401u);
    EXPECT_THAT(answers_, ElementsAre(""));
}

TEST_F(HttpAuthentication, PrefersWhatTheRequestWasGiven) {
    Demand("Basic realm=a", "Basic");
    const RequestPtr own = MakeRequest();
    own->SetUserName(L"me");
    own->SetPassword(L"pw");
    EXPECT_EQ(Finish(*own).status, 200u);
    const RequestPtr guest = MakeRequest();
    guest->SetUserName(L"guest");
    EXPECT_EQ(Finish(*guest).status, 200u);
    const RequestPtr header = MakeRequest();
    header->AddHeader(L"Authorization", L"Basic from the caller");
    EXPECT_EQ(Finish(*header).status, 200u);
    EXPECT_THAT(answers_, ElementsAre("", "Authorization: Basic bWU6cHc=", basicAnswer,
                                      "Authorization: Basic from the caller"));
}

TEST_F(HttpAuthentication, CredentialsOfTheAddressMayChange) {
    Demand("Basic realm=a", "Basic");
    Address().SetCredentials(L"a", L"b");
    EXPECT_EQ(Get().status, 200u);
    EXPECT_THAT(answers_, ElementsAre("", "Authorization: Basic YTpi"));
}

}  // namespace
}  // namespace CorvixTransport
