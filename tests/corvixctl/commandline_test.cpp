// How corvixctl takes its command line: what it refuses, what it suggests, and its help.
#include <gmock/gmock.h>

#include <algorithm>

#include "corvixctl/peer/ctlprocess.h"
#include "corvixctl/peer/parsing.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

using Words = std::vector<std::wstring>;

TEST(CtlCommandLine, RefusesWhatItCannotReadAndSaysWhy) {
    struct Case {
        Words words;
        const char* message;
    };
    // What is wrong here is seen before the map file, which does not exist, is opened.
    const Case cases[] = {
        {{}, "name a command (corvixctl --help lists them)"},
        {{L"itms", L"x.xml"}, "unknown command itms; did you mean items?"},
        {{L"frobnicate"}, "unknown command frobnicate (corvixctl --help lists them)"},
        {{L"--map", L"x.xml"}, "unknown command --map"},
        {{L"items"}, "usage: corvixctl items MAP"},
        {{L"items", L"a.xml", L"b.xml"}, "unexpected argument b.xml"},
        {{L"items", L"a.xml", L"--format", L"yaml"}, "--format yaml: expected table, json or csv"},
        {{L"items", L"a.xml", L"--formt", L"json"}, "unknown option --formt; did you mean --format?"},
        {{L"items", L"a.xml", L"--format"}, "--format needs a value: --format table|json|csv"},
        {{L"items", L"a.xml", L"--format=csv", L"--format", L"csv"}, "--format is given twice"},
        {{L"items", L"--", L"--format", L"csv"}, "unexpected argument csv"},
        {{L"get", L"--device", L"h"}, "--map is missing: it names the data map to use"},
        {{L"get", L"--map", L"a.xml"}, "--device is missing: it names the host to ask"},
        {{L"get", L"--map", L"a.xml", L"--device", L""}, "--device is missing"},
        {{L"get", L"--map", L"--device", L"h"}, "--map needs a value: --map FILE"},
        {{L"get", L"--explain=yes", L"--map", L"a.xml"}, "--explain takes no value"},
        {{L"get", L"--map", L"a.xml", L"--device", L"http://h/"}, "expected a host name or an address alone"},
        {{L"get", L"--map", L"a.xml", L"--device", L"h:8080"}, "--port-map, such as 80=8080"},
        {{L"get", L"--map", L"a.xml", L"--device", L"h", L"--port-map", L"80:81"}, "80:81"},
        {{L"get", L"--map", L"a.xml", L"--device", L"h", L"--timeout", L"soon"},
         "--timeout soon: expected a time"},
        {{L"get", L"--map", L"a.xml", L"--device", L"h", L"--timeout", L"0"}, "--timeout 0: expected a time"},
        {{L"get", L"--map", L"a.xml", L"--device", L"h", L"--timeout", L"-1"},
         "--timeout -1: expected a time"},
        {{L"get", L"--map", L"a.xml", L"--device", L"h", L"--retries", L"101"},
         "a whole number from 0 to 100"},
        {{L"get", L"--map", L"a.xml", L"--device", L"h", L"--snmp-version", L"3"}, "expected 1 or 2c"},
    };
    for (const Case& test : cases) {
        const CtlRun run = RunCtl(test.words);
        SCOPED_TRACE(test.message);
        EXPECT_EQ(run.exitCode, 2u);
        EXPECT_THAT(run.out, IsEmpty());
        EXPECT_THAT(run.error, StartsWith("corvixctl: "));
        EXPECT_THAT(run.error, HasSubstr(test.message));
        EXPECT_THAT(LinesOf(run.error), SizeIs(1)) << "one line, which says all";
    }
}

TEST(CtlCommandLine, TakesItsOptionsInEveryForm) {
    const TempFile map(
        "<DataMaps><XMLDataMap Protocol='PLSXML'><StaticDataItem Name='A'>1</StaticDataItem>"
        "</XMLDataMap></DataMaps>");
    const CtlRun plain = RunCtl({L"items", map.Path(), L"--format", L"csv"});
    EXPECT_EQ(plain.exitCode, 0u);
    const Words forms[] = {{L"items", L"--format", L"csv", map.Path()},
                           {L"items", L"--format=csv", map.Path()},
                           {L"items", L"--format=csv", L"--", map.Path()}};
    for (const Words& words : forms)
        EXPECT_EQ(RunCtl(words).out, plain.out);
}

TEST(CtlCommandLine, HelpsOnStandardOutput) {
    const CtlRun program = RunCtl({L"--help"});
    EXPECT_EQ(program.exitCode, 0u);
    EXPECT_THAT(program.error, IsEmpty());
    EXPECT_THAT(program.out, HasSubstr("Exit codes"));
    EXPECT_EQ(RunCtl({L"help"}).out, program.out);

    // Every command that the program's help lists explains itself with an example.
    std::vector<std::string> lines = LinesOf(program.out);
    auto line = std::find(lines.begin(), lines.end(), "Commands");
    ASSERT_NE(line, lines.end());
    for (++line; line != lines.end() && !line->empty(); ++line) {
        const std::string name = line->substr(2, line->find(' ', 2) - 2);
        SCOPED_TRACE(name);
        const std::wstring wide(name.begin(), name.end());
        const CtlRun help = RunCtl({wide, L"--help"});
        EXPECT_EQ(help.exitCode, 0u);
        EXPECT_THAT(help.out, HasSubstr("Usage: corvixctl " + name));
        EXPECT_THAT(help.out, HasSubstr("Examples\n  corvixctl " + name));
        for (const std::string& text : LinesOf(help.out))
            EXPECT_LE(text.size(), 110u) << text;
    }
}

TEST(CtlCommandLine, HelpsHoweverItIsAsked) {
    const CtlRun help = RunCtl({L"items", L"--help"});
    EXPECT_EQ(RunCtl({L"help", L"items"}).out, help.out);
    EXPECT_EQ(RunCtl({L"items", L"--nonsense", L"-h"}).out, help.out) << "also in the middle of a mistake";
    EXPECT_EQ(RunCtl({L"help", L"itms"}).exitCode, 2u);
}

TEST(CtlCommandLine, TellsItsVersion) {
    const CtlRun run = RunCtl({L"--version"});
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_THAT(run.out, testing::MatchesRegex("corvixctl \\d+\\.\\d+\\.\\d+\n"));
}

}  // namespace
