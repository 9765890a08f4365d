#include "wire/snmp/ber.h"

#include <gmock/gmock.h>

#include "wiresnmp/hex.h"

namespace Corvix::Snmp {
namespace {

TEST(Oid, ReadsDottedTexts) {
    EXPECT_EQ(ParseOid("1.3.6.1.2.1.1.1.0"), (Oid{1, 3, 6, 1, 2, 1, 1, 1, 0}));
    EXPECT_EQ(ParseOid(".1.3"), (Oid{1, 3}));
    EXPECT_EQ(ParseOid("2.999.4294967295"), (Oid{2, 999, 4294967295u}));
    EXPECT_EQ(ParseArcs(".7"), Oid{7}) << "a part of one";
    EXPECT_EQ(ParseArcs("3.99"), (Oid{3, 99}));
    std::string longest = "1.3";
    for (int i = 2; i < 128; ++i)
        longest += ".7";
    EXPECT_TRUE(ParseOid(longest));
    EXPECT_FALSE(ParseArcs(longest + ".7"));
    for (const char* text : {"", ".", "1", "1.", "..1.3", "1..3", "1.3.", "1.3.x", "1.3 ", " 1.3", "1.-3",
                             "1.+3", "3.1", "1.40", "0.40", "1.3.4294967296", "2.4294967216", "1.3;1.4"}) {
        EXPECT_FALSE(ParseOid(text)) << text;
    }
}

TEST(Oid, IsEncodedAndDecodedAlike) {
    const std::pair<const char*, const char*> cases[] = {
        {"1.3.6.1.4.1.32473", "2B 06 01 04 01 81 FD 59"},
        {"0.0", "00"},
        {"0.39", "27"},
        {"1.0", "28"},
        {"1.39", "4F"},
        {"2.0", "50"},
        {"2.999.3", "88 37 03"},
        {"1.3.127.128.16383.16384", "2B 7F 81 00 FF 7F 81 80 00"},
        {"1.3.4294967295", "2B 8F FF FF FF 7F"},
    };
    for (const auto& [text, hex] : cases) {
        EXPECT_EQ(Ber::EncodeOid(*ParseOid(text)), Ber::Encode(Ber::ObjectIdentifier, FromHex(hex))) << text;
        EXPECT_EQ(FormatOid(Ber::DecodeOid(FromHex(hex)).value_or(Oid{})), text);
    }
    EXPECT_EQ(Ber::OidContent({}), FromHex("00"));
    EXPECT_EQ(Ber::OidContent({7}), FromHex("00"));
    EXPECT_EQ(Ber::DecodeOid(""), (Oid{0, 0})) << "no identifier";
    EXPECT_EQ(Ber::DecodeOid(FromHex("2B 80 80 06")), (Oid{1, 3, 6})) << "needless leading octets";
    EXPECT_FALSE(Ber::DecodeOid(FromHex("2B 86"))) << "ends inside an arc";
    EXPECT_FALSE(Ber::DecodeOid(FromHex("2B 90 80 80 80 00"))) << "33 bits";
    EXPECT_FALSE(Ber::DecodeOid("\x2B" + std::string(127, '\1'))) << "129 arcs";
    EXPECT_TRUE(Ber::DecodeOid("\x2B" + std::string(126, '\1')));
}

TEST(BerInteger, IsEncodedAsShortAsPossible) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "00"},
        {1, "01"},
        {127, "7F"},
        {128, "00 80"},
        {255, "00 FF"},
        {256, "01 00"},
        {-1, "FF"},
        {-128, "80"},
        {-129, "FF 7F"},
        {32768, "00 80 00"},
        {2147483647, "7F FF FF FF"},
        {-2147483648LL, "80 00 00 00"},
    };
    for (const auto& [number, content] : cases) {
        const std::string element = Ber::Encode(Ber::Integer, FromHex(content));
        EXPECT_EQ(Ber::EncodeInteger(number), element) << number;
        EXPECT_EQ(Ber::Reader(element).NextInteger(), number);
    }
}

TEST(BerInteger, TakesNeedlessLeadingOctetsAndRefusesWhatDoesNotFit) {
    EXPECT_EQ(Ber::DecodeInteger(FromHex("00 00 00 05")), 5);
    EXPECT_EQ(Ber::DecodeInteger(FromHex("FF FF FF FF FF FE")), -2);
    EXPECT_EQ(Ber::DecodeInteger(std::string(40, '\0') + "\x07"), 7);
    EXPECT_EQ(Ber::DecodeInteger(std::string(40, '\xFF') + "\x80"), -128);
    EXPECT_FALSE(Ber::DecodeInteger(""));
    EXPECT_FALSE(Ber::DecodeInteger(FromHex("01 00 00 00 00 00 00 00 00")));
    EXPECT_FALSE(Ber::DecodeInteger(FromHex("00 80 00 00 00 00 00 00 00"))) << "positive, but needs 65 bits";
    EXPECT_FALSE(Ber::Reader(FromHex("02 05 01 00 00 00 00")).NextInteger()) << "33 bits";
    EXPECT_FALSE(Ber::Reader(FromHex("04 01 05")).NextInteger()) << "another tag";
}

TEST(BerUnsigned, IsReadWithAndWithoutItsLeadingZero) {
    const std::pair<std::uint64_t, const char*> cases[] = {{0, "00"},
                                                           {128, "00 80"},
                                                           {0xFFFFFFFE, "00 FF FF FF FE"},
                                                           {~std::uint64_t{0}, "00 FF FF FF FF FF FF FF FF"}};
    for (const auto& [number, content] : cases) {
        EXPECT_EQ(Ber::UnsignedContent(number), FromHex(content));
        EXPECT_EQ(Ber::DecodeUnsigned(FromHex(content)), number);
    }
    EXPECT_EQ(Ber::DecodeUnsigned(FromHex("FF FF FF FE")), 0xFFFFFFFEu);
    EXPECT_FALSE(Ber::DecodeUnsigned(FromHex("01 00 00 00 00 00 00 00 00")));
    EXPECT_FALSE(Ber::DecodeUnsigned(""));
}

TEST(BerReader, TakesLengthsOfEveryForm) {
    for (const char* hex : {"04 02 61 62", "04 81 02 61 62", "04 82 00 02 61 62", "04 84 00 00 00 02 61 62",
                            "04 89 00 00 00 00 00 00 00 00 02 61 62"}) {
        const std::string bytes = FromHex(hex);
        Ber::Reader reader(bytes);
        EXPECT_FALSE(reader.Next(Ber::Integer)) << "another tag stays in place";
        EXPECT_EQ(reader.Next(Ber::OctetString), "ab") << hex;
        EXPECT_TRUE(reader.AtEnd());
    }
    const std::string content(300, 'x');
    const std::string element = Ber::Encode(Ber::OctetString, content);
    EXPECT_EQ(element.substr(0, 4), FromHex("04 82 01 2C"));
    EXPECT_EQ(Ber::Reader(element).Next(Ber::OctetString), content);
}

TEST(BerReader, RefusesWhatPointsOutsideTheBytesAndKeepsItsPlace) {
    for (const char* text : {"", "04", "04 01", "04 03 61 62", "04 81", "04 82 00", "04 84 FF FF FF FF 61",
                             "04 80 61 00 00", "04 88 FF FF FF FF FF FF FF FF 61", "04 FF 61",
                             "04 89 01 00 00 00 00 00 00 00 01 61", "1F 01 01", "3F 81 01 00"}) {
        const std::string bytes = FromHex(text);
        Ber::Reader reader(bytes);
        EXPECT_FALSE(reader.Next()) << text;
        EXPECT_FALSE(reader.Next(Ber::OctetString)) << text;
        EXPECT_EQ(reader.AtEnd(), bytes.empty()) << text;
    }
}

}  // namespace
}  // namespace Corvix::Snmp
