#include "transport/snmpconnection.h"

#include <gmock/gmock.h>

#include "corvixdm/disposableptr.h"
#include "snmptransport/scriptedagent.h"
#include "utilslib/com.h"

namespace CorvixTransport {
namespace {

using Corvix::DisposablePtr;
using Corvix::MIBConnection;
using KyUtils::Variant;
using testing::ElementsAre;
using Reply = ScriptedAgent::Reply;
using Script = ScriptedAgent::Script;
using Sender = ScriptedAgent::Sender;
using Snmp::Message;
using Turn = ScriptedAgent::Turn;
using Variables = std::vector<Snmp::VarBind>;

const wchar_t* const descrText = L"1.3.6.1.2.1.1.1.0";
const Snmp::Oid descr = {1, 3, 6, 1, 2, 1, 1, 1, 0};
const Snmp::Oid objectId = {1, 3, 6, 1, 2, 1, 1, 2, 0};
const HRESULT notFound = HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
const HRESULT timedOut = HRESULT_FROM_WIN32(WSAETIMEDOUT);
const HRESULT cancelled = HRESULT_FROM_WIN32(ERROR_CANCELLED);

// Long enough for any machine where an answer comes; short where the test waits for the end of it.
constexpr unsigned patient = 10000;
constexpr unsigned impatient = 80;

DisposablePtr<MIBConnection> Connect(const ScriptedAgent& agent, unsigned timeout = patient,
                                     unsigned retries = 0, SnmpOptions options = {}) {
    if (options.host.empty()) options.host = L"127.0.0.7";
    options.port = agent.Port();
    options.timeoutMilliseconds = timeout;
    options.retries = retries;
    return DisposablePtr<MIBConnection>(CreateSnmpConnection(options));
}

// What reading came to: the value, or the failure in hexadecimal digits; then the VARIANT must be as before.
std::wstring Result(HRESULT result, const Variant& value) {
    if (SUCCEEDED(result)) return std::wstring(Variant::ToText(value.Get()).Text());
    EXPECT_EQ(value->vt, VT_EMPTY);
    wchar_t text[16];
    std::swprintf(text, 16, L"%08lX", static_cast<unsigned long>(result));
    return text;
}
std::wstring Failure(HRESULT result) { return Result(result, {}); }

std::wstring Get(MIBConnection& connection, const wchar_t* oid = descrText) {
    Variant value;
    const HRESULT result = connection.GetValue(oid, value.Receive());
    return Result(result, value);
}

// The name and the value, or the failure, which leaves the name as it was.
std::wstring GetNext(MIBConnection& connection, unsigned room = 32, const wchar_t* oid = descrText) {
    Variant value;
    wchar_t next[32] = L"before";
    const HRESULT result = connection.GetNextOidAndValue(oid, next, room, value.Receive());
    EXPECT_EQ(FAILED(result), next == std::wstring(L"before"));
    return (FAILED(result) ? L"" : next + std::wstring(L" ")) + Result(result, value);
}

Snmp::VarBind Text(const Snmp::Oid& oid, std::string text) {
    return {oid, {Snmp::Ber::OctetString, std::move(text)}};
}
Snmp::VarBind Integer(const Snmp::Oid& oid, std::int64_t number) {
    return {oid, {Snmp::Ber::Integer, Snmp::Ber::IntegerContent(number)}};
}

Message AnswerTo(const Message& request, Variables variables, std::int32_t status = 0) {
    Message answer = request;
    answer.type = Snmp::PduType::Response;
    answer.errorStatus = status;
    answer.errorIndex = status ? 1 : 0;
    answer.variables = std::move(variables);
    return answer;
}
Reply With(const Message& request, Variables variables) {
    return {Encode(AnswerTo(request, std::move(variables)))};
}
Reply Good(const Message& request, const char* text = "good") {
    return With(request, {Text(request.variables.front().oid, text)});
}
Turn Refusal(const Message& request, std::int32_t status) {
    return {{{Encode(AnswerTo(request, request.variables, status))}}, {}};
}

Turn AnswerGood(size_t, const Message& request) { return {{Good(request)}, {}}; }
Turn Silence(size_t, const Message&) { return {}; }
Turn NoSuchName(size_t, const Message& request) { return Refusal(request, Snmp::ErrorStatus::NoSuchName); }

TEST(SnmpConnection, AsksInTheVersionAndCommunityGiven) {
    for (const SnmpVersion version : {SnmpVersion::V1, SnmpVersion::V2c}) {
        ScriptedAgent agent(AnswerGood);
        SnmpOptions options;
        options.version = version;
        options.readCommunity = "reader";
        options.writeCommunity = "writer";
        const auto connection = Connect(agent, patient, 0, options);
        EXPECT_EQ(Get(*connection), L"good");
        EXPECT_EQ(connection->SetValue(descrText, Variant::FromI4(300).Get()), S_OK);
        Message read;
        read.version = static_cast<Snmp::Version>(version);
        read.community = "reader";
        read.variables = {{descr, {}}};
        Message write = read;
        write.type = Snmp::PduType::Set;
        write.community = "writer";
        write.variables = {Integer(descr, 300)};
        const std::vector<Message> received = agent.Received();
        ASSERT_EQ(received.size(), 2u);
        read.requestId = received[0].requestId;
        write.requestId = received[1].requestId;
        EXPECT_EQ(Encode(received[0]), Encode(read));
        EXPECT_EQ(Encode(received[1]), Encode(write));
    }
}

TEST(SnmpConnection, EndsWithTheEventOfItsCaller) {
    const HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    {
        ScriptedAgent agent([stop](size_t, const Message&) {
            SetEvent(stop);
            return Turn{};
        });
        SnmpOptions options;
        options.stopEvent = stop;
        const auto connection = Connect(agent, patient, 3, options);
        EXPECT_EQ(Get(*connection), Failure(cancelled));
        EXPECT_EQ(Get(*connection), Failure(cancelled));
        EXPECT_EQ(agent.Received().size(), 1u) << "nothing is sent once the event is set";
    }
    CloseHandle(stop);
}

TEST(SnmpConnection, ReachesIPv4AndIPv6AndNames) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {{L"::1", L"::1"},
                                                               {L"127.0.0.1", L"localhost"}};
    for (const auto& [bound, asked] : cases) {
        ScriptedAgent agent(AnswerGood, bound);
        SnmpOptions options;
        options.host = asked;
        const auto connection = Connect(agent, 1000, 0, options);
        ASSERT_TRUE(connection) << asked;
        EXPECT_EQ(Get(*connection), L"good") << asked;
        EXPECT_EQ(Get(*connection), L"good") << asked;
    }
    SnmpOptions nowhere;
    nowhere.host = L"no.such.host.invalid";
    SetLastError(0);
    EXPECT_EQ(CreateSnmpConnection(nowhere), nullptr);
    EXPECT_NE(GetLastError(), 0u);
}

// What an agent or somebody else may send before the answer; each tells what it is.
std::vector<Reply> JunkBefore(const Message& request) {
    const std::string cutOff = Good(request, "cut off").datagram;
    Message otherId = request;
    ++otherId.requestId;
    Message otherVersion = request;
    otherVersion.version = Snmp::Version::V1;
    return {{""},
            {"no BER"},
            {cutOff.substr(0, cutOff.size() - 1)},
            {std::string(65000, '\x30')},
            Good(otherId, "another request id"),
            Good(otherVersion, "another version"),
            {Encode(request)},
            With(request, {Text(objectId, "another object")}),
            With(request, {}),
            With(request, {Text(descr, "two objects"), Text(objectId, "two objects")}),
            {Good(request, "another port").datagram, Sender::OtherPort},
            {Good(request, "another host").datagram, Sender::OtherHost}};
}

TEST(SnmpConnection, PassesOverWhatIsNoAnswer) {
    ScriptedAgent agent([](size_t, const Message& request) {
        std::vector<Reply> replies = JunkBefore(request);
        replies.push_back(Good(request));
        return Turn{replies, {}};
    });
    EXPECT_EQ(Get(*Connect(agent)), L"good");
    ScriptedAgent flooding([](size_t, const Message&) { return Turn{{}, "junk"}; });
    EXPECT_EQ(Get(*Connect(flooding, impatient)), Failure(timedOut)) << "however much junk arrives";
}

TEST(SnmpConnection, RepeatsARequestThatIsNotAnswered) {
    ScriptedAgent agent([](size_t before, const Message& request) {
        return before < 2 ? Turn{} : AnswerGood(before, request);
    });
    const auto connection = Connect(agent);
    connection->SetTimeout(impatient, 100);
    EXPECT_EQ(Get(*connection), L"good");
    const std::vector<Message> received = agent.Received();
    ASSERT_GE(received.size(), 3u);
    EXPECT_LT(received.size(), 100u) << "and no more once it is answered";
    EXPECT_EQ(received[0].requestId, received[1].requestId);
    EXPECT_EQ(received[0].requestId, received[2].requestId);
}

TEST(SnmpConnection, GivesUpAfterTheRetries) {
    ScriptedAgent agent(Silence);
    const auto connection = Connect(agent, impatient, 3);
    EXPECT_EQ(Get(*connection), Failure(timedOut));
    EXPECT_EQ(agent.Received().size(), 4u);
    connection->SetTimeout(impatient, 0);
    EXPECT_EQ(GetNext(*connection), Failure(timedOut));
    EXPECT_EQ(connection->SetValue(descrText, {}), E_INVALIDARG) << "VT_EMPTY is not sent at all";
    EXPECT_EQ(agent.Received().size(), 5u);
}

TEST(SnmpConnection, TakesTheLateAnswerToItsFirstAttempt) {
    Message first;
    ScriptedAgent agent([&first](size_t before, const Message& request) {
        if (before == 0) first = request;
        return before == 0 ? Turn{} : Turn{{Good(first, "late")}, {}};
    });
    EXPECT_EQ(Get(*Connect(agent, 500, 10)), L"late");
}

TEST(SnmpConnection, DoesNotTakeTheAnswersToEarlierRequests) {
    Message first;
    ScriptedAgent agent([&first](size_t before, const Message& request) {
        if (before == 0) first = request;
        if (before == 0) return Turn{};
        // The unanswered request's answer, and everything twice.
        return Turn{{Good(first, "old"), Good(first, "old"), Good(request), Good(request)}, {}};
    });
    const auto connection = Connect(agent, impatient, 0);
    EXPECT_EQ(Get(*connection), Failure(timedOut));
    connection->SetTimeout(patient, 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Get(*connection), L"good");
}

TEST(SnmpConnection, FailsWhereNobodyListens) {
    DisposablePtr<MIBConnection> connection;
    {
        const ScriptedAgent agent(Silence);
        connection = Connect(agent, impatient);
    }
    Variant value;
    EXPECT_TRUE(FAILED(connection->GetValue(descrText, value.Receive())));
    EXPECT_EQ(value->vt, VT_EMPTY);
}

TEST(SnmpConnection, TellsTheAgentsErrors) {
    const std::pair<std::int32_t, HRESULT> cases[] = {
        {1, E_FAIL},          {2, notFound},        {3, E_INVALIDARG}, {4, E_ACCESSDENIED},
        {5, E_FAIL},          {6, E_ACCESSDENIED},  {7, E_INVALIDARG}, {10, E_INVALIDARG},
        {16, E_ACCESSDENIED}, {17, E_ACCESSDENIED}, {99, E_FAIL},      {-1, E_FAIL}};
    ScriptedAgent agent([&cases](size_t before, const Message& request) {
        return before % 2 == 0 ? Refusal(request, cases[before / 2].first) : AnswerGood(before, request);
    });
    const auto connection = Connect(agent);
    for (const auto& [status, result] : cases) {
        EXPECT_EQ(Get(*connection), Failure(result)) << status;
        EXPECT_EQ(connection->GetLastErrorStatus(), static_cast<unsigned long>(status));
        EXPECT_EQ(Get(*connection), L"good");
        EXPECT_EQ(connection->GetLastErrorStatus(), 0u);
    }
}

// Answers with each object's last arc; more objects than `most` are too big.
Script Numbers(size_t most) {
    return [most](size_t, const Message& request) -> Turn {
        if (request.variables.size() > most)
            return {{{Encode(AnswerTo(request, {}, Snmp::ErrorStatus::TooBig))}}, {}};
        Variables variables;
        for (const Snmp::VarBind& asked : request.variables)
            variables.push_back(Integer(asked.oid, asked.oid.back()));
        return {{With(request, variables)}, {}};
    };
}

// Reads objects that end in 0, 1, ... \return the last one's value, or the failure, after which none has any.
std::wstring GetMany(MIBConnection& connection, unsigned count) {
    std::vector<std::wstring> texts;
    std::vector<const wchar_t*> pointers;
    std::vector<VARIANT> values(count);
    for (unsigned i = 0; i < count; ++i)
        texts.push_back(L"1.3.6.1.4.1.32473." + std::to_wstring(i));
    for (const std::wstring& text : texts)
        pointers.push_back(text.c_str());
    const HRESULT result = connection.GetMultipleValues(pointers.data(), values.data(), count);
    std::wstring last;
    for (unsigned i = 0; i < count; ++i) {
        last = Result(result, Variant::Adopt(values[i]));
        EXPECT_EQ(SUCCEEDED(result), last == std::to_wstring(i));
    }
    return last;
}

TEST(SnmpConnection, ReadsManyInOneRequestAndHalvesWhatIsTooBig) {
    const struct {
        unsigned objects;
        size_t mostPerAnswer;
        size_t requests;
        std::wstring last;
    } cases[] = {{1, 1000, 1, L"0"},         {50, 1000, 1, L"49"}, {50, 25, 3, L"49"},
                 {50, 24, 7, L"49"},         {3, 1, 5, L"2"},      {5000, 100000, 2, L"4999"},
                 {50, 0, 6, Failure(E_FAIL)}};
    for (const auto& each : cases) {
        ScriptedAgent agent(Numbers(each.mostPerAnswer));
        EXPECT_EQ(GetMany(*Connect(agent), each.objects), each.last);
        EXPECT_EQ(agent.Received().size(), each.requests) << each.objects << " by " << each.mostPerAnswer;
    }
}

TEST(SnmpConnection, ReadsAllOfManyOrNone) {
    const auto lastIsMissing = [](size_t, const Message& request) {
        return Turn{{With(request, {Text(request.variables[0].oid, "text"),
                                    Integer(request.variables[1].oid, 1),
                                    {request.variables[2].oid, {Snmp::Tag::NoSuchInstance, {}}}})},
                    {}};
    };
    for (const Script& script : {Script(NoSuchName), Script(lastIsMissing)}) {
        ScriptedAgent agent(script);
        EXPECT_EQ(GetMany(*Connect(agent), 3), Failure(notFound));
    }
}

TEST(SnmpConnection, KeepsTheNextObjectForALargerBuffer) {
    ScriptedAgent agent([](size_t, const Message& request) {
        return Turn{{With(request, {Text(objectId, "next")})}, {}};
    });
    const auto connection = Connect(agent);
    const std::wstring next = L"1.3.6.1.2.1.1.2.0 next";
    const unsigned needed = 18;
    for (const unsigned room : {0u, 1u, needed - 1})
        EXPECT_EQ(GetNext(*connection, room), Failure(E_OUTOFMEMORY)) << room;
    EXPECT_EQ(GetNext(*connection, needed), next);
    ASSERT_EQ(agent.Received().size(), 1u);
    EXPECT_EQ(agent.Received()[0].type, Snmp::PduType::GetNext);
    EXPECT_EQ(GetNext(*connection, needed), next);
    EXPECT_EQ(agent.Received().size(), 2u) << "only an answer that was not taken is kept";
    EXPECT_EQ(GetNext(*connection, 1), Failure(E_OUTOFMEMORY));
    EXPECT_EQ(GetNext(*connection, 32, L"1.3.6"), next);
    EXPECT_EQ(agent.Received().size(), 4u) << "and only for the same start";
}

TEST(SnmpConnection, FailsAtTheEndOfTheView) {
    const auto endOfView = [](size_t, const Message& request) {
        return Turn{{With(request, {{request.variables[0].oid, {Snmp::Tag::EndOfMibView, {}}}})}, {}};
    };
    for (const Script& script : {Script(NoSuchName), Script(endOfView)}) {
        ScriptedAgent agent(script);
        for (const unsigned room : {1u, 32u})
            EXPECT_EQ(GetNext(*Connect(agent), room), Failure(notFound));
    }
}

TEST(SnmpConnection, RefusesBadArgumentsWithoutATrace) {
    ScriptedAgent agent(Silence);
    const auto connection = Connect(agent);
    Variant value;
    VARIANT* const place = value.Receive();
    const Variant one = Variant::FromI4(1);
    wchar_t next[8] = L"";
    const wchar_t* none = nullptr;
    const wchar_t* bad = L"sysDescr.0";
    for (const HRESULT result :
         {connection->GetValue(none, place), connection->GetValue(bad, place),
          connection->GetValue(descrText, nullptr), connection->GetMultipleValues(nullptr, place, 1),
          connection->GetMultipleValues(&none, place, 1), connection->GetMultipleValues(&bad, place, 0),
          connection->GetNextOidAndValue(none, next, 8, place),
          connection->GetNextOidAndValue(descrText, nullptr, 8, place),
          connection->GetNextOidAndValue(descrText, next, 8, nullptr), connection->SetValue(none, one.Get()),
          connection->SetValue(bad, one.Get())})
        EXPECT_EQ(result, E_INVALIDARG);
    EXPECT_TRUE(agent.Received().empty());
}

}  // namespace
}  // namespace CorvixTransport
