#include "wire/snmp/ber.h"

#include <gmock/gmock.h>

#include "wiresnmp/hex.h"

namespace Corvix::Snmp {
namespace {

TEST(Oid, ReadsDottedTexts) {
    EXPECT_EQ(ParseOid("1.3.6.1.2.1.1.1.0"), (Oid{1, 3, 6, 1, 2, 1, 1, 1, 0}));
    EXPECT_EQ(ParseOid(".1.3"), (Oid{1, 3}));
    EXPECT_EQ(ParseOid("2.999.4294967295"), (Oid{2, 999, 4294967295u}));
    std::string longest = "1.3";
    for (int i = 2; i < 128; ++i)
        longest += ".7";
    EXPECT_TRUE(ParseOid(longest));
    EXPECT_FALSE(ParseOid(longest + ".7"));
}

TEST(Oid, MayBeAPart) {
    EXPECT_EQ(ParseArcs("7"), Oid{7});
    EXPECT_EQ(ParseArcs(".3.99"), (Oid{3, 99}));
    EXPECT_FALSE(ParseArcs("7."));
    EXPECT_EQ(Ber::OidContent({}), FromHex("00"));
    EXPECT_EQ(Ber::OidContent({7}), FromHex("00"));
}

TEST(Oid, RefusesTextsThatAreNone) {
    for (const char* text : {"", ".", "1", "1.", "..1.3", "1..3", "1.3.", "1.3.x", "1.3 ", " 1.3", "1.-3",
                             "1.+3", "3.1", "1.40", "0.40", "1.3.4294967296", "2.4294967216", "1.3;1.4"}) {
        EXPECT_FALSE(ParseOid(text)) << text;
    }
}

struct OidCase {
    const char* text;
    const char* content;
};

TEST(Oid, IsEncodedAndDecodedAlike) {
    const OidCase cases[] = {
        {"1.3.6.1.2.1.1.1.0", "2B 06 01 02 01 01 01 00"},
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
    for (const OidCase& each : cases) {
        const std::string content = FromHex(each.content);
        EXPECT_EQ(Ber::EncodeOid(*ParseOid(each.text)), Ber::Encode(Ber::ObjectIdentifier, content))
            << each.text;
        const std::optional<Oid> decoded = Ber::DecodeOid(content);
        ASSERT_TRUE(decoded) << each.text;
        EXPECT_EQ(FormatOid(*decoded), each.text);
    }
}

TEST(Oid, DecodesWhatAgentsGetAwayWith) {
    EXPECT_EQ(Ber::DecodeOid(""), (Oid{0, 0})) << "no identifier";
    EXPECT_EQ(Ber::DecodeOid(FromHex("2B 80 80 06")), (Oid{1, 3, 6})) << "needless leading octets";
}

TEST(Oid, RefusesContentsThatAreNone) {
    EXPECT_FALSE(Ber::DecodeOid(FromHex("2B 86"))) << "ends inside an arc";
    EXPECT_FALSE(Ber::DecodeOid(FromHex("2B 90 80 80 80 00"))) << "33 bits";
    EXPECT_FALSE(Ber::DecodeOid("\x2B" + std::string(127, '\1'))) << "129 arcs";
    EXPECT_TRUE(Ber::DecodeOid("\x2B" + std::string(126, '\1')));
}

struct NumberCase {
    std::int64_t number;
    const char* element;
};

TEST(BerInteger, IsEncodedAsShortAsPossible) {
    const NumberCase cases[] = {
        {0, "02 01 00"},
        {1, "02 01 01"},
        {127, "02 01 7F"},
        {128, "02 02 00 80"},
        {255, "02 02 00 FF"},
        {256, "02 02 01 00"},
        {-1, "02 01 FF"},
        {-128, "02 01 80"},
        {-129, "02 02 FF 7F"},
        {32768, "02 03 00 80 00"},
        {2147483647, "02 04 7F FF FF FF"},
        {-2147483648LL, "02 04 80 00 00 00"},
    };
    for (const NumberCase& each : cases) {
        const std::string element = FromHex(each.element);
        EXPECT_EQ(Ber::EncodeInteger(each.number), element) << each.number;
        EXPECT_EQ(Ber::Reader(element).NextInteger(), each.number);
    }
}

TEST(BerInteger, TakesNeedlessLeadingOctets) {
    EXPECT_EQ(Ber::DecodeInteger(FromHex("00 00 00 05")), 5);
    EXPECT_EQ(Ber::DecodeInteger(FromHex("FF FF FF FF FF FE")), -2);
    EXPECT_EQ(Ber::DecodeInteger(std::string(40, '\0') + "\x07"), 7);
    EXPECT_EQ(Ber::DecodeInteger(std::string(40, '\xFF') + "\x80"), -128);
}

TEST(BerInteger, RefusesWhatDoesNotFit) {
    EXPECT_FALSE(Ber::DecodeInteger(""));
    EXPECT_FALSE(Ber::DecodeInteger(FromHex("01 00 00 00 00 00 00 00 00")));
    EXPECT_FALSE(Ber::DecodeInteger(FromHex("00 80 00 00 00 00 00 00 00"))) << "positive, but needs 65 bits";
    EXPECT_FALSE(Ber::Reader(FromHex("02 05 01 00 00 00 00")).NextInteger()) << "33 bits";
    EXPECT_FALSE(Ber::Reader(FromHex("04 01 05")).NextInteger()) << "another tag";
}

TEST(BerUnsigned, IsWrittenWithoutASign) {
    EXPECT_EQ(Ber::UnsignedContent(0), FromHex("00"));
    EXPECT_EQ(Ber::UnsignedContent(128), FromHex("00 80"));
    EXPECT_EQ(Ber::UnsignedContent(0xFFFFFFFF), FromHex("00 FF FF FF FF"));
    EXPECT_EQ(Ber::UnsignedContent(~std::uint64_t{0}), FromHex("00 FF FF FF FF FF FF FF FF"));
}

TEST(BerUnsigned, IsReadWithAndWithoutItsLeadingZero) {
    EXPECT_EQ(Ber::DecodeUnsigned(FromHex("00 FF FF FF FE")), 0xFFFFFFFEu);
    EXPECT_EQ(Ber::DecodeUnsigned(FromHex("FF FF FF FE")), 0xFFFFFFFEu);
    EXPECT_EQ(Ber::DecodeUnsigned(FromHex("00 FF FF FF FF FF FF FF FF")), ~std::uint64_t{0});
    EXPECT_FALSE(Ber::DecodeUnsigned(FromHex("01 00 00 00 00 00 00 00 00")));
    EXPECT_FALSE(Ber::DecodeUnsigned(""));
}

struct LengthCase {
    const char* bytes;
    size_t contentLength;
};

TEST(BerReader, TakesLengthsOfEveryForm) {
    const LengthCase cases[] = {
        {"04 00", 0},
        {"04 02 61 62", 2},
        {"04 81 02 61 62", 2},
        {"04 82 00 02 61 62", 2},
        {"04 84 00 00 00 02 61 62", 2},
        {"04 89 00 00 00 00 00 00 00 00 02 61 62", 2},
    };
    for (const LengthCase& each : cases) {
        const std::string bytes = FromHex(each.bytes);
        Ber::Reader reader(bytes);
        const std::optional<Ber::Element> element = reader.Next();
        ASSERT_TRUE(element) << each.bytes;
        EXPECT_EQ(element->content.size(), each.contentLength) << each.bytes;
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

TEST(BerReader, LeavesAnElementOfAnotherTagInPlace) {
    const std::string bytes = FromHex("04 01 61");
    Ber::Reader reader(bytes);
    EXPECT_FALSE(reader.Next(Ber::Integer));
    EXPECT_EQ(reader.Next(Ber::OctetString), "a");
}

}  // namespace
}  // namespace Corvix::Snmp
