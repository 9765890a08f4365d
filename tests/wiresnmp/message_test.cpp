#include "wire/snmp/message.h"

#include <gmock/gmock.h>

#include "wiresnmp/hex.h"

namespace Corvix::Snmp {
namespace {

// Version 2c, "public"; a response with request id 0x12345678 and no error; 1.3.6.1.2.1.1.1.0 is "Hello".
const char* const answerHex =
    "30 2E 02 01 01 04 06 70 75 62 6C 69 63"
    "A2 21 02 04 12 34 56 78 02 01 00 02 01 00"
    "30 13 30 11 06 08 2B 06 01 02 01 01 01 00 04 05 48 65 6C 6C 6F";

// Version 1, "public"; a get of the same object twice.
const char* const requestHex =
    "30 37 02 01 00 04 06 70 75 62 6C 69 63"
    "A0 2A 02 04 12 34 56 78 02 01 00 02 01 00 30 1C"
    "30 0C 06 08 2B 06 01 02 01 01 01 00 05 00"
    "30 0C 06 08 2B 06 01 02 01 01 01 00 05 00";

const Oid sysDescr = {1, 3, 6, 1, 2, 1, 1, 1, 0};

TEST(Message, IsWrittenAndReadByteByByte) {
    const Message request = {
        Version::V1, "public", PduType::Get, 0x12345678, 0, 0, {{sysDescr, {}}, {sysDescr, {}}}};
    const Message answer = {Version::V2c,
                            "public",
                            PduType::Response,
                            0x12345678,
                            0,
                            0,
                            {{sysDescr, {Ber::OctetString, "Hello"}}}};
    for (const auto& [message, hex] : {std::pair(request, requestHex), std::pair(answer, answerHex)}) {
        EXPECT_EQ(Encode(message), FromHex(hex));
        const std::optional<Message> read = DecodeMessage(FromHex(hex));
        ASSERT_TRUE(read);
        EXPECT_EQ(read->version, message.version);
        EXPECT_EQ(read->type, message.type);
        EXPECT_EQ(Encode(*read), FromHex(hex));
    }
}

TEST(Message, OfAGetBulkIsOfTheSecondVersion) {
    Message request;
    request.type = PduType::GetBulk;
    request.errorIndex = 10;
    request.variables = {{sysDescr, {}}};
    const std::optional<Message> read = DecodeMessage(Encode(request));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->type, PduType::GetBulk);
    EXPECT_EQ(read->errorIndex, 10);
    request.version = Version::V1;
    EXPECT_FALSE(DecodeMessage(Encode(request)));
}

TEST(Message, TakesWhatAgentsGetAwayWith) {
    const std::string padded = FromHex(answerHex) + std::string(20, '\0');
    EXPECT_TRUE(DecodeMessage(padded)) << "zeros after the message";
    const std::string wasteful = FromHex(
        "30 82 00 2E 02 02 00 01 04 81 00"
        "A2 84 00 00 00 21 02 05 00 12 34 56 78 02 02 00 02 02 01 01"
        "30 81 10 30 81 0D 06 08 2B 06 01 02 01 01 01 00 05 81 00");
    const std::optional<Message> answer = DecodeMessage(wasteful);
    ASSERT_TRUE(answer) << "needless octets in lengths and integers";
    EXPECT_EQ(answer->requestId, 0x12345678);
    EXPECT_EQ(answer->errorStatus, ErrorStatus::NoSuchName);
    EXPECT_EQ(answer->errorIndex, 1);
}

// What each octet of the answer may be: "." where nothing but the right one will do, "*" where any, as in the community,
// the numbers and the text, else how many of the 256. A message that is cut off anywhere is none.
TEST(Message, IsRefusedWhenDamaged) {
    const std::string whole = FromHex(answerHex);
    std::string tolerance;
    for (size_t offset = 0; offset < whole.size(); ++offset) {
        EXPECT_FALSE(DecodeMessage(whole.substr(0, offset))) << offset;
        int accepted = 0;
        for (int octet = 0; octet < 256; ++octet) {
            std::string changed = whole;
            changed[offset] = static_cast<char>(octet);
            accepted += DecodeMessage(changed).has_value();
        }
        tolerance += accepted == 1 ? "." : accepted == 256 ? "*" : "(" + std::to_string(accepted) + ")";
    }
    EXPECT_EQ(tolerance, "....(2)..******(5)...****..*..*......*******(128)(248).*****");
}

}  // namespace
}  // namespace Corvix::Snmp
