// The simulator's SNMP agent and its faults, with messages that the test encodes itself.
#include <gtest/gtest.h>
#include <winsock2.h>
#include <ws2tcpip.h>

#include <optional>

#include "sim/peer/simprocess.h"

namespace {

constexpr int kPatience = 20'000;  // milliseconds: for answers that come
constexpr int kSilence = 150;      // milliseconds: for answers that do not

constexpr uint8_t kGet = 0xa0;
constexpr uint8_t kGetNext = 0xa1;
constexpr uint8_t kResponse = 0xa2;
constexpr uint8_t kSet = 0xa3;
constexpr uint8_t kGetBulk = 0xa5;
constexpr uint8_t kInteger = 0x02;
constexpr uint8_t kText = 0x04;
constexpr uint8_t kNull = 0x05;
constexpr uint8_t kOid = 0x06;
constexpr uint8_t kEndOfView = 0x82;

using Bytes = std::string;

Bytes Element(uint8_t tag, const Bytes& content) {
    EXPECT_LT(content.size(), 0x10000u);
    Bytes length(1, static_cast<char>(content.size()));
    if (content.size() >= 0x80) {
        length = {'\x82', static_cast<char>(content.size() >> 8), static_cast<char>(content.size())};
    }
    return static_cast<char>(tag) + length + content;
}

Bytes Number(int value) {
    return Element(kInteger, {static_cast<char>(value >> 8), static_cast<char>(value)});
}

/// The arcs behind 1.3.
Bytes Oid(const std::vector<unsigned>& arcs) {
    Bytes content = "\x2b";
    for (const unsigned arc : arcs) {
        if (arc >= 1u << 14) content += static_cast<char>(0x80 | arc >> 14);
        if (arc >= 1u << 7) content += static_cast<char>(0x80 | (arc >> 7 & 0x7f));
        content += static_cast<char>(arc & 0x7f);
    }
    return Element(kOid, content);
}

Bytes Binding(const std::vector<unsigned>& arcs, const Bytes& value = Element(kNull, "")) {
    return Element(0x30, Oid(arcs) + value);
}

Bytes Request(uint8_t type, const Bytes& bindings, int id = 77, int first = 0, int second = 0,
              int version = 1, const Bytes& community = "public") {
    return Element(0x30,
                   Number(version) + Element(kText, community) +
                       Element(type, Number(id) + Number(first) + Number(second) + Element(0x30, bindings)));
}

/// Takes the element off the front; its content, with the tag in `tag`.
Bytes Take(Bytes& rest, uint8_t& tag) {
    EXPECT_GE(rest.size(), 2u);
    if (rest.size() < 2) return {};
    tag = static_cast<uint8_t>(rest[0]);
    size_t length = static_cast<uint8_t>(rest[1]);
    size_t start = 2;
    if (length >= 0x80) {
        start += length - 0x80;
        length = 0;
        for (size_t i = 2; i < start; ++i)
            length = length << 8 | static_cast<uint8_t>(rest.at(i));
    }
    const Bytes content = rest.substr(start, length);
    EXPECT_EQ(content.size(), length);
    rest.erase(0, start + length);
    return content;
}

int TakeNumber(Bytes& rest) {
    uint8_t tag = 0;
    const Bytes content = Take(rest, tag);
    int number = !content.empty() && (content[0] & 0x80) != 0 ? -1 : 0;
    for (const char c : content)
        number = number * 256 + static_cast<uint8_t>(c);
    return number;
}

struct Answer {
    int id = 0;
    int error = 0;
    int index = 0;
    Bytes community;
    struct Value {
        Bytes oid;  ///< as an element
        uint8_t tag;
        Bytes content;
    };
    std::vector<Value> values;
};

Answer Decode(const Bytes& datagram) {
    Answer answer;
    uint8_t tag = 0;
    Bytes rest = datagram;
    Bytes message = Take(rest, tag);
    TakeNumber(message);
    answer.community = Take(message, tag);
    Bytes pdu = Take(message, tag);
    EXPECT_EQ(tag, kResponse);
    answer.id = TakeNumber(pdu);
    answer.error = TakeNumber(pdu);
    answer.index = TakeNumber(pdu);
    Bytes bindings = Take(pdu, tag);
    while (!bindings.empty()) {
        Bytes binding = Take(bindings, tag);
        const Bytes oid = Element(kOid, Take(binding, tag));
        const Bytes content = Take(binding, tag);
        answer.values.push_back({oid, tag, content});
    }
    return answer;
}

class SimSnmp : public testing::Test {
protected:
    static void SetUpTestSuite() { sim_ = std::make_unique<SimProcess>(); }
    static void TearDownTestSuite() { sim_.reset(); }

    void SetUp() override {
        sim_->Control("POST", "/sim/faults/clear");
        WSADATA data;
        ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
        socket_ = socket(AF_INET, SOCK_DGRAM, 0);
        to_.sin_family = AF_INET;
        to_.sin_port = htons(sim_->Port("161/udp"));
        inet_pton(AF_INET, sim_->Address().c_str(), &to_.sin_addr);
    }
    void TearDown() override {
        closesocket(socket_);
        WSACleanup();
    }

    void Send(const Bytes& datagram) const {
        sendto(socket_, datagram.data(), static_cast<int>(datagram.size()), 0,
               reinterpret_cast<const sockaddr*>(&to_), sizeof to_);
    }

    std::optional<Bytes> Receive(int patience = kPatience) const {
        fd_set readable;
        FD_ZERO(&readable);
        FD_SET(socket_, &readable);
        timeval timeout{patience / 1000, patience % 1000 * 1000};
        if (select(0, &readable, nullptr, nullptr, &timeout) <= 0) return std::nullopt;
        char buffer[65536];
        const int length = recv(socket_, buffer, sizeof buffer, 0);
        return Bytes(buffer, static_cast<size_t>(std::max(length, 0)));
    }

    Answer Ask(const Bytes& request) const {
        Send(request);
        const std::optional<Bytes> datagram = Receive();
        EXPECT_TRUE(datagram) << "no answer";
        return datagram ? Decode(*datagram) : Answer();
    }

    static std::unique_ptr<SimProcess> sim_;
    SOCKET socket_ = INVALID_SOCKET;
    sockaddr_in to_{};
};

std::unique_ptr<SimProcess> SimSnmp::sim_;

const std::vector<unsigned> kSysName = {6, 1, 2, 1, 1, 5, 0};
const std::vector<unsigned> kSysDescr = {6, 1, 2, 1, 1, 1, 0};
const std::vector<unsigned> kBlackLevel = {6, 1, 2, 1, 43, 11, 1, 1, 9, 1, 1};
const std::vector<unsigned> kNothing = {6, 1, 2, 1, 99, 0};

TEST_F(SimSnmp, AnswersSeveralObjectsInOrder) {
    const Answer answer =
        Ask(Request(kGet, Binding(kSysName) + Binding(kBlackLevel) + Binding({6, 1, 4, 1, 32473, 1, 1, 0}) +
                              Binding({6, 1, 2, 1, 25, 3, 2, 1, 3, 1})));
    ASSERT_EQ(answer.values.size(), 4u);
    EXPECT_EQ(answer.id, 77);
    EXPECT_EQ(answer.error, 0);
    EXPECT_EQ(answer.community, "public");
    EXPECT_EQ(answer.values[0].content, "corvus-c4200");
    EXPECT_EQ(answer.values[1].tag, kInteger);
    EXPECT_EQ(answer.values[1].content, "\x52");
    EXPECT_EQ(answer.values[2].content, "VYR0C42A0017");
    EXPECT_EQ(answer.values[3].content, "Veyra Corvus C4200dn");
}

TEST_F(SimSnmp, SaysWhatIsMissingAsEachVersionDoes) {
    const Answer v1 = Ask(Request(kGet, Binding(kSysName) + Binding(kNothing), 5, 0, 0, 0));
    EXPECT_EQ(v1.error, 2);
    EXPECT_EQ(v1.index, 2);
    const Answer v2 = Ask(Request(kGet, Binding(kNothing) + Binding({6, 1, 2, 1, 43, 11, 1, 1, 9, 1, 99})));
    ASSERT_EQ(v2.values.size(), 2u);
    EXPECT_EQ(v2.error, 0);
    EXPECT_EQ(v2.values[0].tag, 0x80);
    EXPECT_EQ(v2.values[1].tag, 0x81);
}

TEST_F(SimSnmp, WalksInOrderToTheEnd) {
    Bytes oid = Oid({6, 1});
    size_t count = 0;
    for (;; ++count) {
        const Answer answer = Ask(Request(kGetNext, Element(0x30, oid + Element(kNull, ""))));
        ASSERT_EQ(answer.values.size(), 1u);
        if (answer.values[0].tag == kEndOfView) break;
        ASSERT_NE(answer.values[0].oid, oid);
        oid = answer.values[0].oid;
        ASSERT_LT(count, 1000u);
    }
    EXPECT_GT(count, 200u);
    const Answer v1 = Ask(Request(kGetNext, Binding({6, 2}), 1, 0, 0, 0));
    EXPECT_EQ(v1.error, 2);
}

TEST_F(SimSnmp, GetBulkRepeatsWhatItIsToldTo) {
    const Answer answer = Ask(Request(kGetBulk,
                                      Binding({6, 1, 2, 1, 1, 1}) + Binding({6, 1, 2, 1, 43, 11, 1, 1, 6}) +
                                          Binding({6, 1, 2, 1, 43, 11, 1, 1, 9}),
                                      9, 1, 3));
    ASSERT_EQ(answer.values.size(), 7u);
    EXPECT_EQ(answer.values[0].oid, Oid(kSysDescr));
    EXPECT_EQ(answer.values[1].content, "Black Toner Cartridge");
    EXPECT_EQ(answer.values[6].content, "\x39");
    EXPECT_LT(Ask(Request(kGetBulk, Binding({6, 1}), 9, 0, 32000)).values.size(), 1000u);
}

TEST_F(SimSnmp, SetsAllOrNothing) {
    const Bytes text = Element(kText, "moved");
    EXPECT_EQ(Ask(Request(kSet, Binding({6, 1, 2, 1, 1, 6, 0}, text) + Binding(kSysDescr, text))).error, 17);
    EXPECT_EQ(Ask(Request(kSet, Binding(kSysName, Number(4)))).error, 7);
    EXPECT_EQ(Ask(Request(kGet, Binding({6, 1, 2, 1, 1, 6, 0}))).values.at(0).content,
              "Building 2, second floor");
}

TEST_F(SimSnmp, WhatIsSetShowsInEveryService) {
    EXPECT_EQ(Ask(Request(kSet, Binding({6, 1, 2, 1, 1, 6, 0}, Element(kText, "Annex")))).error, 0);
    EXPECT_NE(sim_->Control("GET", "/sim/values").find("\"location\":\"Annex\""), std::string::npos);
}

TEST_F(SimSnmp, KeepsSilentAboutJunkAndStrangers) {
    Bytes junk[] = {"x",
                    "",
                    "\x30\x84\xff\xff\xff\xff",
                    Request(kGet, "\x30"),
                    Request(kResponse, Binding(kSysName)),
                    Request(kGet, Binding(kSysName), 1, 0, 0, 3),
                    Request(kGet, Binding(kSysName), 1, 0, 0, 1, "guess"),
                    Request(kGet, Element(0x30, Element(kOid, "\x2b\x86") + Element(kNull, "")))};
    for (const Bytes& datagram : junk)
        Send(datagram);
    const Bytes good = Request(kGet, Binding(kSysName));
    for (size_t length = 1; length < good.size(); ++length)
        Send(good.substr(0, length));
    EXPECT_FALSE(Receive(kSilence));
    EXPECT_EQ(Ask(good).values.size(), 1u);
}

TEST_F(SimSnmp, LosesEveryThirdDatagram) {
    sim_->Control("POST", "/sim/faults", "service=snmp drop every=3");
    std::string seen;
    for (int i = 0; i < 6; ++i) {
        Send(Request(kGet, Binding(kSysName)));
        seen += Receive(i % 3 == 2 ? kSilence : kPatience) ? 'a' : '-';
    }
    EXPECT_EQ(seen, "aa-aa-");
}

TEST_F(SimSnmp, LateAnswersDoNotHoldUpOthers) {
    sim_->Control("POST", "/sim/faults", "service=snmp delay=500 times=1");
    Send(Request(kGet, Binding(kSysName), 1));
    Send(Request(kGet, Binding(kSysName), 2));
    EXPECT_EQ(Decode(Receive().value_or("")).id, 2);
    EXPECT_EQ(Decode(Receive().value_or("")).id, 1);
}

TEST_F(SimSnmp, FaultsBendTheAnswer) {
    struct {
        const char* fault;
        bool (*bent)(const Answer& answer);
    } const table[] = {
        {"wrong-id", [](const Answer& a) { return a.id == 78; }},
        {"wrong-type", [](const Answer& a) { return a.values.at(0).tag == kText; }},
        {"wrong-community", [](const Answer& a) { return a.community != "public"; }},
        {"end-of-view", [](const Answer& a) { return a.values.at(0).tag == kEndOfView; }},
        {"stuck", [](const Answer& a) { return a.values.at(0).oid == Oid(kSysDescr); }},
        {"endless",
         [](const Answer& a) {
             return a.values.at(0).oid == Oid({6, 1, 2, 1, 1, 1, 1});
         }},
        {"too-big", [](const Answer& a) { return a.error == 1; }},
        {"error=5", [](const Answer& a) { return a.error == 5; }},
        {"operation=getnext error=13", [](const Answer& a) { return a.error == 13; }},
        {"operation=get error=13", [](const Answer& a) { return a.error == 0; }},
        {"path=1.3.6.1.2.1.43.* error=13", [](const Answer& a) { return a.error == 0; }},
    };
    for (const auto& expected : table) {
        sim_->Control("POST", "/sim/faults", std::string("service=snmp ") + expected.fault);
        EXPECT_TRUE(expected.bent(Ask(Request(kGetNext, Binding(kSysDescr))))) << expected.fault;
        sim_->Control("POST", "/sim/faults/clear");
    }
}

TEST_F(SimSnmp, AnswersTwiceInPartOrInJunkWhenTold) {
    const Bytes request = Request(kGet, Binding(kSysName));
    sim_->Control("POST", "/sim/faults", "service=snmp duplicate times=1");
    Send(request);
    EXPECT_EQ(Receive(), Receive());
    sim_->Control("POST", "/sim/faults", "service=snmp truncate=10 times=1");
    Send(request);
    EXPECT_EQ(Receive().value_or("").size(), 10u);
    sim_->Control("POST", "/sim/faults", "service=snmp garbage times=1");
    Send(request);
    EXPECT_NE(Receive().value_or("").find("garbage"), Bytes::npos);
}

}  // namespace
