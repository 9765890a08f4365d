#include "transport/snmpconnection.h"

#include <gmock/gmock.h>

#include "corvixdm/disposableptr.h"
#include "snmptransport/scriptedagent.h"

namespace CorvixTransport {
namespace {

using Corvix::DisposablePtr;
using Corvix::MIBConnection;
using testing::ElementsAre;
using Reply = ScriptedAgent::Reply;
using Sender = ScriptedAgent::Sender;
using Turn = ScriptedAgent::Turn;

const wchar_t* const descrText = L"1.3.6.1.2.1.1.1.0";
const Snmp::Oid descr = {1, 3, 6, 1, 2, 1, 1, 1, 0};
const Snmp::Oid objectId = {1, 3, 6, 1, 2, 1, 1, 2, 0};
const HRESULT notFound = HRESULT_FROM_WIN32(ERROR_NOT_FOUND);
const HRESULT timedOut = HRESULT_FROM_WIN32(WSAETIMEDOUT);

// Long enough for any machine where an answer comes; short where the test waits for the end of it.
constexpr unsigned patient = 10000;
constexpr unsigned impatient = 80;

SnmpOptions OptionsFor(const ScriptedAgent& agent, unsigned timeout, unsigned retries) {
    SnmpOptions options;
    options.host = L"127.0.0.7";
    options.port = agent.Port();
    options.timeoutMilliseconds = timeout;
    options.retries = retries;
    return options;
}

DisposablePtr<MIBConnection> Connect(const ScriptedAgent& agent, unsigned timeout = patient,
                                     unsigned retries = 0) {
    return DisposablePtr<MIBConnection>(CreateSnmpConnection(OptionsFor(agent, timeout, retries)));
}

// Owns the VARIANT of one read.
struct Value {
    Value() { VariantInit(&variant); }
    ~Value() { VariantClear(&variant); }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    std::wstring Text() const {
        if (variant.vt == VT_I4) return std::to_wstring(variant.lVal);
        return variant.vt == VT_BSTR ? std::wstring(variant.bstrVal)
                                     : L"<vt " + std::to_wstring(variant.vt) + L">";
    }
    VARIANT variant;
};

std::string Good(const Snmp::Message& request, std::string text = "good") {
    return Encode(AnswerTo(request, {Text(request.variables.front().oid, std::move(text))}));
}

TEST(SnmpConnection, AsksInTheVersionAndCommunityGiven) {
    ScriptedAgent agent([](size_t, const Snmp::Message& request) { return Turn{{{Good(request)}}, {}}; });
    for (const SnmpVersion version : {SnmpVersion::V1, SnmpVersion::V2c}) {
        SnmpOptions options = OptionsFor(agent, patient, 0);
        options.version = version;
        options.readCommunity = "reader";
        options.writeCommunity = "writer";
        const DisposablePtr<MIBConnection> connection(CreateSnmpConnection(options));
        Value value;
        ASSERT_EQ(connection->GetValue(descrText, &value.variant), S_OK);
        EXPECT_EQ(value.Text(), L"good");
        const Snmp::Message request = agent.Received().back();
        EXPECT_EQ(static_cast<int>(request.version), static_cast<int>(version));
        EXPECT_EQ(request.community, "reader");
        EXPECT_EQ(request.type, Snmp::PduType::Get);
        ASSERT_EQ(request.variables.size(), 1u);
        EXPECT_EQ(request.variables[0].oid, descr);
        EXPECT_EQ(request.variables[0].value.tag, Snmp::Ber::Null);
    }
}

TEST(SnmpConnection, EndsWithTheEventOfItsCaller) {
    const HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    {
        ScriptedAgent agent([stop](size_t, const Snmp::Message&) {
            SetEvent(stop);
            return Turn{};
        });
        SnmpOptions options = OptionsFor(agent, patient, 3);
        options.stopEvent = stop;
        const DisposablePtr<MIBConnection> connection(CreateSnmpConnection(options));
        Value value;
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(connection->GetValue(descrText, &value.variant), HRESULT_FROM_WIN32(ERROR_CANCELLED));
            EXPECT_EQ(value.variant.vt, VT_EMPTY);
        }
        EXPECT_EQ(agent.Received().size(), 1u) << "nothing is sent once the event is set";
    }
    CloseHandle(stop);
}

struct HostCase {
    const wchar_t* bound;
    const wchar_t* asked;
};

TEST(SnmpConnection, ReachesIPv4AndIPv6AndNames) {
    const HostCase cases[] = {{L"127.0.0.7", L"127.0.0.7"}, {L"::1", L"::1"}, {L"127.0.0.1", L"localhost"}};
    for (const HostCase& each : cases) {
        ScriptedAgent agent(
            [](size_t, const Snmp::Message& request) {
                return Turn{{{Good(request)}}, {}};
            },
            each.bound);
        SnmpOptions options = OptionsFor(agent, 1000, 0);
        options.host = each.asked;
        const DisposablePtr<MIBConnection> connection(CreateSnmpConnection(options));
        ASSERT_TRUE(connection) << each.asked;
        for (int i = 0; i < 2; ++i) {
            Value value;
            EXPECT_EQ(connection->GetValue(descrText, &value.variant), S_OK) << each.asked;
        }
    }
}

TEST(SnmpConnection, TellsOfAHostThatIsNone) {
    SnmpOptions options;
    options.host = L"no.such.host.invalid";
    SetLastError(0);
    EXPECT_EQ(CreateSnmpConnection(options), nullptr);
    EXPECT_NE(GetLastError(), 0u);
}

// What an agent or somebody else may send before the answer; each must be passed over.
struct JunkCase {
    const char* name;
    Reply (*make)(const Snmp::Message& request);
};

Snmp::Message BadAnswer(const Snmp::Message& request) { return AnswerTo(request, {Text(descr, "bad")}); }

const JunkCase junkCases[] = {
    {"nothing in it", [](const Snmp::Message&) { return Reply{""}; }},
    {"no BER", [](const Snmp::Message&) { return Reply{"hello"}; }},
    {"cut off",
     [](const Snmp::Message& request) {
         const std::string whole = Encode(BadAnswer(request));
         return Reply{whole.substr(0, whole.size() - 1)};
     }},
    {"the largest datagram", [](const Snmp::Message&) { return Reply{std::string(65000, '\x30')}; }},
    {"another request id",
     [](const Snmp::Message& request) {
         Snmp::Message answer = BadAnswer(request);
         ++answer.requestId;
         return Reply{Encode(answer)};
     }},
    {"another version",
     [](const Snmp::Message& request) {
         Snmp::Message answer = BadAnswer(request);
         answer.version = Snmp::Version::V1;
         return Reply{Encode(answer)};
     }},
    {"the request itself", [](const Snmp::Message& request) { return Reply{Encode(request)}; }},
    {"another object",
     [](const Snmp::Message& request) { return Reply{Encode(AnswerTo(request, {Text(objectId, "bad")}))}; }},
    {"no object", [](const Snmp::Message& request) { return Reply{Encode(AnswerTo(request, {}))}; }},
    {"two objects",
     [](const Snmp::Message& request) {
         return Reply{Encode(AnswerTo(request, {Text(descr, "bad"), Text(objectId, "bad")}))};
     }},
    {"from another port",
     [](const Snmp::Message& request) {
         return Reply{Encode(BadAnswer(request)), Sender::OtherPort};
     }},
    {"from another host",
     [](const Snmp::Message& request) {
         return Reply{Encode(BadAnswer(request)), Sender::OtherHost};
     }},
};

TEST(SnmpConnection, PassesOverWhatIsNoAnswer) {
    for (const JunkCase& junk : junkCases) {
        ScriptedAgent agent([&junk](size_t, const Snmp::Message& request) {
            return Turn{{junk.make(request), {Good(request)}}, {}};
        });
        Value value;
        EXPECT_EQ(Connect(agent)->GetValue(descrText, &value.variant), S_OK) << junk.name;
        EXPECT_EQ(value.Text(), L"good") << junk.name;
    }
}

TEST(SnmpConnection, EndsAtItsDeadlineHoweverMuchJunkArrives) {
    ScriptedAgent agent([](size_t, const Snmp::Message&) { return Turn{{}, "junk"}; });
    Value value;
    EXPECT_EQ(Connect(agent, impatient)->GetValue(descrText, &value.variant), timedOut);
    EXPECT_EQ(value.variant.vt, VT_EMPTY);
}

TEST(SnmpConnection, RepeatsARequestThatIsNotAnswered) {
    ScriptedAgent agent([](size_t before, const Snmp::Message& request) {
        return before < 2 ? Turn{} : Turn{{{Good(request)}}, {}};
    });
    const DisposablePtr<MIBConnection> connection = Connect(agent, patient, 0);
    connection->SetTimeout(impatient, 100);
    Value value;
    EXPECT_EQ(connection->GetValue(descrText, &value.variant), S_OK);
    const std::vector<Snmp::Message> received = agent.Received();
    ASSERT_GE(received.size(), 3u);
    EXPECT_EQ(received[0].requestId, received[1].requestId);
    EXPECT_EQ(received[0].requestId, received[2].requestId);
}

TEST(SnmpConnection, GivesUpAfterTheRetries) {
    ScriptedAgent agent([](size_t, const Snmp::Message&) { return Turn{}; });
    const DisposablePtr<MIBConnection> connection = Connect(agent, impatient, 3);
    Value value;
    wchar_t nextOid[64] = L"before";
    EXPECT_EQ(connection->GetValue(descrText, &value.variant), timedOut);
    EXPECT_EQ(agent.Received().size(), 4u);
    connection->SetTimeout(impatient, 0);
    EXPECT_EQ(connection->GetNextOidAndValue(descrText, nextOid, 64, &value.variant), timedOut);
    EXPECT_EQ(connection->SetValue(descrText, value.variant), E_INVALIDARG) << "VT_EMPTY is not sent at all";
    EXPECT_EQ(agent.Received().size(), 5u);
    EXPECT_STREQ(nextOid, L"before");
    EXPECT_EQ(value.variant.vt, VT_EMPTY);
}

TEST(SnmpConnection, TakesTheLateAnswerToItsFirstAttempt) {
    Snmp::Message first;
    ScriptedAgent agent([&first](size_t before, const Snmp::Message& request) {
        if (before == 0) first = request;
        return before == 0 ? Turn{} : Turn{{{Good(first, "late")}}, {}};
    });
    Value value;
    EXPECT_EQ(Connect(agent, 500, 10)->GetValue(descrText, &value.variant), S_OK);
    EXPECT_EQ(value.Text(), L"late");
}

TEST(SnmpConnection, DoesNotTakeTheAnswersToEarlierRequests) {
    Snmp::Message first;
    ScriptedAgent agent([&first](size_t before, const Snmp::Message& request) {
        if (before == 0) first = request;
        if (before == 0) return Turn{};
        // The unanswered request's answer, and everything twice.
        return Turn{{{Good(first, "old")}, {Good(first, "old")}, {Good(request)}, {Good(request)}}, {}};
    });
    const DisposablePtr<MIBConnection> connection = Connect(agent, impatient, 0);
    Value late;
    EXPECT_EQ(connection->GetValue(descrText, &late.variant), timedOut);
    connection->SetTimeout(patient, 0);
    for (int i = 0; i < 3; ++i) {
        Value value;
        EXPECT_EQ(connection->GetValue(descrText, &value.variant), S_OK);
        EXPECT_EQ(value.Text(), L"good");
    }
}

TEST(SnmpConnection, FailsWhereNobodyListens) {
    SnmpOptions options;
    options.host = L"127.0.0.7";
    options.port = UnusedPort();
    options.timeoutMilliseconds = impatient;
    const DisposablePtr<MIBConnection> connection(CreateSnmpConnection(options));
    ASSERT_TRUE(connection);
    Value value;
    EXPECT_TRUE(FAILED(connection->GetValue(descrText, &value.variant)));
    EXPECT_EQ(value.variant.vt, VT_EMPTY);
}

struct StatusCase {
    std::int32_t status;
    HRESULT result;
};

TEST(SnmpConnection, TellsTheAgentsErrors) {
    const StatusCase cases[] = {{1, E_FAIL},          {2, notFound},      {3, E_INVALIDARG},
                                {4, E_ACCESSDENIED},  {5, E_FAIL},        {6, E_ACCESSDENIED},
                                {7, E_INVALIDARG},    {10, E_INVALIDARG}, {16, E_ACCESSDENIED},
                                {17, E_ACCESSDENIED}, {99, E_FAIL},       {-1, E_FAIL}};
    for (const StatusCase& each : cases) {
        ScriptedAgent agent([&each](size_t before, const Snmp::Message& request) {
            return before == 0 ? Only(ErrorTo(request, each.status)) : Turn{{{Good(request)}}, {}};
        });
        const DisposablePtr<MIBConnection> connection = Connect(agent);
        Value value;
        EXPECT_EQ(connection->GetValue(descrText, &value.variant), each.result) << each.status;
        EXPECT_EQ(connection->GetLastErrorStatus(), static_cast<unsigned long>(each.status));
        EXPECT_EQ(value.variant.vt, VT_EMPTY);
        EXPECT_EQ(connection->GetValue(descrText, &value.variant), S_OK);
        EXPECT_EQ(connection->GetLastErrorStatus(), 0u);
    }
}

// Answers with each object's last arc; more objects than `most` are too big.
ScriptedAgent::Script Numbers(size_t most) {
    return [most](size_t, const Snmp::Message& request) {
        if (request.variables.size() > most) {
            Snmp::Message error = ErrorTo(request, Snmp::ErrorStatus::TooBig);
            error.variables.clear();
            return Only(error);
        }
        std::vector<Snmp::VarBind> variables;
        for (const Snmp::VarBind& asked : request.variables) {
            variables.push_back(Integer(asked.oid, static_cast<std::int32_t>(asked.oid.back())));
        }
        return Only(AnswerTo(request, variables));
    };
}

struct Objects {
    explicit Objects(unsigned count) : values(count) {
        for (unsigned i = 0; i < count; ++i)
            texts.push_back(L"1.3.6.1.4.1.32473." + std::to_wstring(i));
        for (const std::wstring& text : texts)
            pointers.push_back(text.c_str());
        for (VARIANT& value : values)
            VariantInit(&value);
    }
    HRESULT ReadFrom(MIBConnection& connection) {
        return connection.GetMultipleValues(pointers.data(), values.data(),
                                            static_cast<unsigned>(values.size()));
    }
    std::vector<std::wstring> texts;
    std::vector<const wchar_t*> pointers;
    std::vector<VARIANT> values;
};

struct ManyCase {
    unsigned objects;
    size_t mostPerAnswer;
    size_t requests;
};

TEST(SnmpConnection, ReadsManyInOneRequestAndHalvesWhatIsTooBig) {
    const ManyCase cases[] = {{1, 1000, 1}, {50, 1000, 1}, {50, 25, 3}, {50, 24, 7}, {3, 1, 5}};
    for (const ManyCase& each : cases) {
        ScriptedAgent agent(Numbers(each.mostPerAnswer));
        Objects objects(each.objects);
        EXPECT_EQ(objects.ReadFrom(*Connect(agent)), S_OK) << each.objects;
        EXPECT_EQ(agent.Received().size(), each.requests) << each.objects << " by " << each.mostPerAnswer;
        for (unsigned i = 0; i < each.objects; ++i) {
            EXPECT_EQ(objects.values[i].vt, VT_I4);
            EXPECT_EQ(objects.values[i].lVal, static_cast<LONG>(i));
        }
    }
}

TEST(SnmpConnection, HalvesARequestThatNoDatagramHolds) {
    ScriptedAgent agent(Numbers(100000));
    Objects objects(5000);
    EXPECT_EQ(objects.ReadFrom(*Connect(agent)), S_OK);
    EXPECT_GE(agent.Received().size(), 2u);
}

TEST(SnmpConnection, GivesUpWhereEvenOneObjectIsTooBig) {
    ScriptedAgent agent(Numbers(0));
    Objects objects(50);
    const DisposablePtr<MIBConnection> connection = Connect(agent);
    EXPECT_EQ(objects.ReadFrom(*connection), E_FAIL);
    EXPECT_EQ(connection->GetLastErrorStatus(), 1u);
    EXPECT_LT(agent.Received().size(), 50u);
}

TEST(SnmpConnection, ReadsAllOfManyOrNone) {
    const ScriptedAgent::Script scripts[] = {
        [](size_t, const Snmp::Message& request) {
            return Only(ErrorTo(request, Snmp::ErrorStatus::NoSuchName));
        },
        [](size_t, const Snmp::Message& request) {
            return Only(AnswerTo(request, {Text(request.variables[0].oid, "text"),
                                           Integer(request.variables[1].oid, 1),
                                           {request.variables[2].oid, {Snmp::Tag::NoSuchInstance, {}}}}));
        },
    };
    for (const ScriptedAgent::Script& script : scripts) {
        ScriptedAgent agent(script);
        Objects objects(3);
        EXPECT_EQ(objects.ReadFrom(*Connect(agent)), notFound);
        for (const VARIANT& value : objects.values)
            EXPECT_EQ(value.vt, VT_EMPTY);
    }
}

TEST(SnmpConnection, AnswersWithTheNextObject) {
    ScriptedAgent agent(
        [](size_t, const Snmp::Message& request) { return Only(AnswerTo(request, {Integer(objectId, 7)})); });
    const DisposablePtr<MIBConnection> connection = Connect(agent);
    Value value;
    wchar_t nextOid[32] = L"";
    EXPECT_EQ(connection->GetNextOidAndValue(descrText, nextOid, 32, &value.variant), S_OK);
    EXPECT_STREQ(nextOid, L"1.3.6.1.2.1.1.2.0");
    EXPECT_EQ(value.Text(), L"7");
    EXPECT_EQ(agent.Received().back().type, Snmp::PduType::GetNext);
}

TEST(SnmpConnection, KeepsTheNextObjectForALargerBuffer) {
    ScriptedAgent agent([](size_t, const Snmp::Message& request) {
        return Only(AnswerTo(request, {Text(objectId, "next")}));
    });
    const DisposablePtr<MIBConnection> connection = Connect(agent);
    Value value;
    wchar_t nextOid[32] = L"before";
    const unsigned needed = 18;
    for (const unsigned room : {0u, 1u, needed - 1}) {
        EXPECT_EQ(connection->GetNextOidAndValue(descrText, nextOid, room, &value.variant), E_OUTOFMEMORY)
            << room;
        EXPECT_STREQ(nextOid, L"before");
        EXPECT_EQ(value.variant.vt, VT_EMPTY);
    }
    EXPECT_EQ(connection->GetNextOidAndValue(descrText, nextOid, needed, &value.variant), S_OK);
    EXPECT_STREQ(nextOid, L"1.3.6.1.2.1.1.2.0");
    EXPECT_EQ(agent.Received().size(), 1u);

    Value again;
    EXPECT_EQ(connection->GetNextOidAndValue(descrText, nextOid, needed, &again.variant), S_OK);
    EXPECT_EQ(agent.Received().size(), 2u) << "only an answer that was not taken is kept";
    EXPECT_EQ(connection->GetNextOidAndValue(descrText, nextOid, 1, &again.variant), E_OUTOFMEMORY);
    Value other;
    EXPECT_EQ(connection->GetNextOidAndValue(L"1.3.6", nextOid, 32, &other.variant), S_OK);
    EXPECT_EQ(agent.Received().size(), 4u) << "and only for the same start";
}

TEST(SnmpConnection, FailsAtTheEndOfTheView) {
    const ScriptedAgent::Script scripts[] = {
        [](size_t, const Snmp::Message& request) {
            return Only(ErrorTo(request, Snmp::ErrorStatus::NoSuchName));
        },
        [](size_t, const Snmp::Message& request) {
            return Only(AnswerTo(request, {{request.variables[0].oid, {Snmp::Tag::EndOfMibView, {}}}}));
        },
    };
    for (const ScriptedAgent::Script& script : scripts) {
        ScriptedAgent agent(script);
        Value value;
        wchar_t nextOid[32] = L"before";
        for (const unsigned room : {1u, 32u}) {
            EXPECT_EQ(Connect(agent)->GetNextOidAndValue(descrText, nextOid, room, &value.variant), notFound);
        }
        EXPECT_STREQ(nextOid, L"before");
        EXPECT_EQ(value.variant.vt, VT_EMPTY);
    }
}

TEST(SnmpConnection, Writes) {
    ScriptedAgent agent(
        [](size_t, const Snmp::Message& request) { return Only(AnswerTo(request, request.variables)); });
    SnmpOptions options = OptionsFor(agent, patient, 0);
    options.writeCommunity = "writer";
    const DisposablePtr<MIBConnection> connection(CreateSnmpConnection(options));
    VARIANT value;
    value.vt = VT_INT;
    value.intVal = 300;
    EXPECT_EQ(connection->SetValue(descrText, value), S_OK);
    const Snmp::Message request = agent.Received().back();
    EXPECT_EQ(request.type, Snmp::PduType::Set);
    EXPECT_EQ(request.community, "writer");
    ASSERT_EQ(request.variables.size(), 1u);
    EXPECT_EQ(request.variables[0].oid, descr);
    EXPECT_EQ(request.variables[0].value.tag, Snmp::Ber::Integer);
    EXPECT_EQ(request.variables[0].value.content, "\x01\x2C");
}

TEST(SnmpConnection, RefusesBadArgumentsWithoutATrace) {
    ScriptedAgent agent([](size_t, const Snmp::Message&) { return Turn{}; });
    const DisposablePtr<MIBConnection> connection = Connect(agent);
    Value value;
    wchar_t nextOid[8] = L"";
    const wchar_t* none = nullptr;
    const wchar_t* bad = L"sysDescr.0";
    VARIANT one;
    one.vt = VT_I4;
    one.lVal = 1;
    EXPECT_EQ(connection->GetValue(nullptr, &value.variant), E_INVALIDARG);
    EXPECT_EQ(connection->GetValue(bad, &value.variant), E_INVALIDARG);
    EXPECT_EQ(connection->GetValue(descrText, nullptr), E_INVALIDARG);
    EXPECT_EQ(connection->GetMultipleValues(nullptr, &value.variant, 1), E_INVALIDARG);
    EXPECT_EQ(connection->GetMultipleValues(&none, &value.variant, 1), E_INVALIDARG);
    EXPECT_EQ(connection->GetMultipleValues(&bad, &value.variant, 0), E_INVALIDARG);
    EXPECT_EQ(connection->GetNextOidAndValue(nullptr, nextOid, 8, &value.variant), E_INVALIDARG);
    EXPECT_EQ(connection->GetNextOidAndValue(descrText, nullptr, 8, &value.variant), E_INVALIDARG);
    EXPECT_EQ(connection->GetNextOidAndValue(descrText, nextOid, 8, nullptr), E_INVALIDARG);
    EXPECT_EQ(connection->SetValue(nullptr, one), E_INVALIDARG);
    EXPECT_EQ(connection->SetValue(bad, one), E_INVALIDARG);
    EXPECT_TRUE(agent.Received().empty());
}

}  // namespace
}  // namespace CorvixTransport
