// corvixctl ipp: a printer's answer, and answers that were kept.
#include <gmock/gmock.h>

#include <memory>

#include "corvixctl/peer/ctlprocess.h"
#include "corvixctl/peer/parsing.h"
#include "sim/peer/simprocess.h"
#include "support/ippbytes.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace Bytes = Corvix::Ipp::Testing;
using Words = std::vector<std::wstring>;

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

Words Joined(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

// ---- kept answers

CtlRun Decode(const std::string& body, const Words& more = {}) {
    const TempFile file(body);
    return RunCtl(Joined({L"ipp", L"--decode", file.Path()}, more));
}

std::vector<std::string> NamesOf(const Json& answer) {
    std::vector<std::string> names;
    for (const auto& [name, value] : std::get<Json::Object>(answer["attributes"].value))
        names.push_back(name);
    return names;
}

const std::string media = Bytes::Begin("media-col") + Bytes::MemberInteger("x", 21000) + Bytes::End();
const std::string kept = Bytes::Header(0x0406) + Bytes::Byte(4) + Bytes::Keyword("sides", "one-sided") +
                         Bytes::Keyword("", "two \"sided\"") + Bytes::Integer("copies", 3) + media;

TEST(CtlDecode, TellsTheWholeAnswerInOneJsonObject) {
    const CtlRun run = Decode(kept + Bytes::endTag, {L"--format", L"json"});
    EXPECT_EQ(run.exitCode, 0u) << "a kept error is read well: " << run.error;
    const Json answer = Json::Parse(run.out);
    EXPECT_EQ(answer["schema"].Number(), 1);
    EXPECT_EQ(answer["version"].Text(), "2.0");
    EXPECT_EQ(answer["status"].Number(), 0x0406);
    EXPECT_THAT(NamesOf(answer), ElementsAre("sides", "copies", "media-col"));
    EXPECT_EQ(answer["attributes"]["sides"].Text(), "one-sided,two \"sided\"");
    EXPECT_EQ(answer["attributes"]["copies"].Text(), "3");
    EXPECT_TRUE(answer["fault"].IsNull());
}

TEST(CtlDecode, TellsWhatCameBeforeAFaultThenTheFault) {
    const std::string cut = kept + Bytes::Keyword("media", "a4").substr(0, 6);
    const CtlRun run = Decode(cut, {L"--format", L"json"});
    EXPECT_EQ(run.exitCode, 1u);
    const Json answer = Json::Parse(run.out);
    EXPECT_THAT(NamesOf(answer), ElementsAre("sides", "copies", "media-col"));
    EXPECT_EQ(answer["fault"]["offset"].Number(), static_cast<double>(kept.size() + 3));
    EXPECT_THAT(answer["fault"]["reason"].Text(), HasSubstr("within a name"));
    const CtlRun table = Decode(cut);
    EXPECT_EQ(table.exitCode, 1u);
    EXPECT_THAT(table.out, StartsWith("IPP 2.0, client-error-not-found (0x0406)\n"));
    EXPECT_THAT(table.out, HasSubstr("copies"));
    EXPECT_THAT(table.error, HasSubstr("malformed at byte " + std::to_string(kept.size() + 3)));
}

TEST(CtlDecode, SaysWhatIsNoAnswerAtAll) {
    const struct {
        std::string body;
        const char* reason;
    } cases[] = {{"", "within the header"},
                 {std::string("\1\1\0\0\0\0\0\1\3", 9), "version is not 2.x"},
                 {"<html>", "within the header"}};
    for (const auto& [body, reason] : cases) {
        const CtlRun run = Decode(body, {L"--format", L"json"});
        EXPECT_EQ(run.exitCode, 1u);
        EXPECT_THAT(run.error, HasSubstr(reason));
        const Json answer = Json::Parse(run.out);
        EXPECT_TRUE(answer["version"].IsNull());
        EXPECT_TRUE(answer["status"].IsNull());
        EXPECT_THAT(NamesOf(answer), IsEmpty());
    }
    EXPECT_THAT(RunCtl({L"ipp", L"--decode", L"no-such-file"}).error, HasSubstr("cannot be read"));
}

TEST(CtlDecode, PicksAttributesAndMembers) {
    const CtlRun run =
        Decode(kept + Bytes::endTag, {L"media-col.x", L"nonsense", L"copies", L"--format", L"csv"});
    EXPECT_EQ(run.exitCode, 1u);
    EXPECT_THAT(ParseCsv(run.out),
                ElementsAre(ElementsAre("name", "value"), ElementsAre("media-col.x", "21000"),
                            ElementsAre("copies", "3")));
    EXPECT_THAT(run.error, HasSubstr("not in the answer: nonsense"));
}

TEST(CtlDecode, ShowsWhatCouldSteerATerminal) {
    const CtlRun run = Decode(Bytes::Body(Bytes::Value(0x41, "a\x1b[2J", "b\x1b]0;c\a")));
    EXPECT_THAT(run.out, Not(HasSubstr("\x1b")));
    EXPECT_THAT(run.out, HasSubstr("\\u001b"));
}

TEST(CtlDecode, TakesNamesAndValuesOfAnyBytes) {
    const CtlRun run =
        Decode(Bytes::Body(Bytes::Value(0x41, "caf\xe9", "\xff") + Bytes::Keyword("\xc3\xa9", "ok")),
               {L"--format", L"json"});
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    const Json answer = Json::Parse(run.out);
    EXPECT_THAT(NamesOf(answer), ElementsAre("caf\xc3\xa9", "\xc3\xa9"));
    EXPECT_EQ(answer["attributes"]["caf\xc3\xa9"].Text(), "\xef\xbf\xbd");
}

// ---- a printer

class CtlIpp : public testing::Test {
protected:
    static void SetUpTestSuite() { sim_ = std::make_unique<SimProcess>(); }
    static void TearDownTestSuite() { sim_.reset(); }
    void TearDown() override { sim_->Control("POST", "/sim/faults/clear"); }

    static CtlRun Ask(const Words& more) {
        return RunCtl(Joined({L"ipp", L"--device", Widen(sim_->Address()), L"--port-map",
                              Widen(sim_->PortMap()), L"--timeout", L"20"},
                             more));
    }
    static std::wstring Uri(const std::wstring& scheme, const std::wstring& path) {
        return scheme + L"://" + Widen(sim_->Address() + ":" + std::to_string(sim_->Port("631"))) + path;
    }

    static std::unique_ptr<SimProcess> sim_;
};

std::unique_ptr<SimProcess> CtlIpp::sim_;

TEST_F(CtlIpp, AsksForAllOrForWhatIsNamed) {
    const Json all = Json::Parse(Ask({L"--format", L"json"}).out);
    EXPECT_EQ(all["version"].Text(), "2.0");
    EXPECT_EQ(all["status"].Number(), 0);
    EXPECT_GT(NamesOf(all).size(), 80u);
    EXPECT_EQ(all["attributes"]["printer-state"].Text(), "3");
    const CtlRun some =
        Ask({L"printer-state", L"media-col-default.media-size.x-dimension", L"--format", L"json"});
    EXPECT_EQ(some.exitCode, 0u) << some.error;
    EXPECT_THAT(NamesOf(Json::Parse(some.out)),
                ElementsAre("printer-state", "media-col-default.media-size.x-dimension"));
    const CtlRun absent = Ask({L"printer-state", L"no-such-attribute"});
    EXPECT_EQ(absent.exitCode, 1u);
    EXPECT_THAT(absent.error, HasSubstr("not in the answer: no-such-attribute"));
}

TEST_F(CtlIpp, TakesAUriWithAPortOfItsOwn) {
    const CtlRun run = RunCtl({L"ipp", L"--uri", Uri(L"ipp", L"/ipp/print"), L"printer-name"});
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_THAT(run.out, HasSubstr("printer-name"));
}

TEST_F(CtlIpp, KeepsAnAnswerThatReadsBackAlike) {
    const TempFile file("what was there before");
    const CtlRun live = Ask({L"printer-name", L"--save", file.Path()});
    EXPECT_EQ(live.exitCode, 0u) << live.error;
    const CtlRun decoded = RunCtl({L"ipp", L"--decode", file.Path(), L"printer-name"});
    EXPECT_EQ(decoded.exitCode, 0u) << decoded.error;
    EXPECT_EQ(decoded.out, live.out);
    const CtlRun nowhere = Ask({L"--save", file.Path() + L"\\x"});
    EXPECT_EQ(nowhere.exitCode, 1u);
    EXPECT_THAT(nowhere.error, HasSubstr("cannot be written"));
}

TEST_F(CtlIpp, SaysWhyThePrinterDidNotAnswer) {
    const struct {
        Words words;
        DWORD exitCode;
        const char* reason;
    } cases[] = {
        {{L"ipp", L"--uri", Uri(L"ipps", L"/ipp/print")}, 1, "no secure connection"},
        {{L"ipp", L"--uri", Uri(L"ipp", L"/")}, 1, "too short"},
        {{L"ipp", L"--device", Widen(sim_->Address()), L"--port-map", L"631=1"}, 3, "not reachable"},
        {{L"ipp", L"--uri", L"ipp://no-such-host.invalid/ipp/print"}, 3, "host name"},
    };
    for (const auto& [words, exitCode, reason] : cases) {
        const CtlRun run = RunCtl(words);
        EXPECT_EQ(run.exitCode, exitCode);
        EXPECT_THAT(run.error, HasSubstr(reason));
        EXPECT_THAT(run.out, IsEmpty());
    }
    sim_->Control("POST", "/sim/faults", "service=ipp status=503");
    const CtlRun busy = Ask({});
    EXPECT_EQ(busy.exitCode, 1u);
    EXPECT_THAT(busy.error, HasSubstr("HTTP 503"));
}

TEST_F(CtlIpp, RefusesACommandLineThatMakesNoSense) {
    const struct {
        Words words;
        const char* reason;
    } cases[] = {
        {{}, "--device HOST or with --uri"},
        {{L"--uri", L"http://h/ipp/print"}, "expected ipp://"},
        {{L"--uri", L"h"}, "expected ipp://"},
        {{L"--uri", L"ipp:///ipp/print"}, "names no host"},
        {{L"--uri", L"ipp://user@h/ipp/print"}, "--user and --password"},
        {{L"--uri", L"ipp://h:0/ipp/print"}, "port"},
        {{L"--uri", L"ipp://h:99999/ipp/print"}, "port"},
        {{L"--uri", L"ipp://h/ipp/print", L"--device", L"h"}, "give one"},
        {{L"--uri", L"ipp://h/ipp/print", L"--resource", L"/x"}, "give one"},
        {{L"--uri", L"ipp://h/ipp/print", L"--insecure"}, "nothing is secured"},
        {{L"--device", L"h", L"--insecure"}, "ipps://"},
        {{L"--device", L"h", L"a,b"}, "one by one"},
        {{L"--decode", L"f", L"--device", L"h"}, "no place"},
        {{L"--decode", L"f", L"--save", L"g"}, "no place"},
    };
    for (const auto& [words, reason] : cases) {
        const CtlRun run = RunCtl(Joined({L"ipp"}, words));
        EXPECT_EQ(run.exitCode, 2u) << run.error;
        EXPECT_THAT(run.error, HasSubstr(reason));
    }
}

}  // namespace
