#include <gmock/gmock.h>

#include "corvixdm/disposableptr.h"
#include "datamodel/ipp/ipprequestattributes.h"
#include "datamodel/ipp/ippresponseattribute.h"
#include "support/ippbytes.h"

namespace Corvix {
namespace {

namespace Bytes = Ipp::Testing;

/// Every object of these tests is given up by its last owner.
class NothingLeft : public testing::Environment {
    void TearDown() override { EXPECT_EQ(KyUtils::LiveObjectCount(), 0u); }
};
[[maybe_unused]] const auto* const nothingLeft = testing::AddGlobalTestEnvironment(new NothingLeft);

template <class Record, class Character>
using TextPair = std::pair<void (Record::*)(const Character*), const Character* (Record::*)() const>;

template <class Record, class Character>
void ExpectTexts(Record& record, const std::vector<TextPair<Record, Character>>& pairs) {
    using Text = std::basic_string<Character>;
    const Text first(50, Character('1'));  // long enough to live on the heap
    Character letter = 'a';
    for (const auto& [set, get] : pairs) {
        EXPECT_EQ((record.*get)(), nullptr);
        Text text = first;
        (record.*set)(text.c_str());
        text.assign(text.size(), Character('?'));
        EXPECT_EQ((record.*get)(), first) << "it is a copy";
        (record.*set)(Text(1, letter++).c_str());
    }
    letter = 'a';
    for (const auto& [set, get] : pairs) {
        (record.*set)((record.*get)());
        EXPECT_EQ((record.*get)(), Text(1, letter++)) << "no text has two owners, and its own may be set";
        (record.*set)(nullptr);
        EXPECT_EQ((record.*get)(), nullptr);
    }
}

TEST(IPPRequestAttributes, KeepsCopiesOfItsTexts) {
    using R = IPPRequestBase;
    const DisposablePtr<R> record(IPPRequestAttributes::Create());
    EXPECT_EQ(record->GetRefCount(), 1);
    ExpectTexts<R, char>(*record, {{&R::SetPrinterURI, &R::GetPrinterURI},
                                   {&R::SetRequestingUserName, &R::GetRequestingUserName},
                                   {&R::SetDocumentUri, &R::GetDocumentUri},
                                   {&R::SetJobName, &R::GetJobName},
                                   {&R::SetDocumentName, &R::GetDocumentName},
                                   {&R::SetJobURI, &R::GetJobURI}});
    ExpectTexts<R, wchar_t>(*record, {{&R::SetUsername, &R::GetUsername},
                                      {&R::SetPassword, &R::GetPassword},
                                      {&R::SetAuthorization, &R::GetAuthorization}});
}

TEST(IPPResponseAttributes, KeepsCopiesOfItsTexts) {
    using R = IPPResponseBase;
    const DisposablePtr<R> record(IPPResponseAttributes::Create());
    EXPECT_EQ(record->GetRefCount(), 1);
    ExpectTexts<R, char>(*record, {{&R::SetSuccess, &R::GetSuccessStatus},
                                   {&R::SetRequestID, &R::GetRequestID},
                                   {&R::SetDocumentAccessError, &R::GetDocumentAccessError},
                                   {&R::SetJobURI, &R::GetJobURI},
                                   {&R::SetJobID, &R::GetJobID},
                                   {&R::SetJobState, &R::GetJobState},
                                   {&R::SetJobStateReasons, &R::GetJobStateReasons}});
}

TEST(IPPRequestAttributes, BeginsWithWhatIsNotSent) {
    using R = IPPRequestBase;
    const struct {
        void (R::*set)(int);
        int (R::*get)() const;
        int initially;
    } numbers[] = {
        {&R::SetMultipleDocHandling, &R::GetMultipleDocHandling, -1},
        {&R::SetPrintingSides, &R::GetPrintingSides, 3},
        {&R::SetOrientationRequested, &R::GetOrientationRequested, 2},
        {&R::SetPrintQuality, &R::GetPrintQuality, 2},
        {&R::SetOutputMode, &R::GetOutputMode, 0},
        {&R::SetPrintContentOptimize, &R::GetPrintContentOptimize, 0},
        {&R::SetPrinterResolutionUnits, &R::GetPrinterResolutionUnits, 3},
    };
    const DisposablePtr<R> record(IPPRequestAttributes::Create());
    int value = 40;
    for (const auto& number : numbers) {
        EXPECT_EQ((record.Get()->*number.get)(), number.initially);
        (record.Get()->*number.set)(++value);
    }
    value = 40;
    for (const auto& number : numbers)
        EXPECT_EQ((record.Get()->*number.get)(), ++value);

    EXPECT_EQ(record->GetCopy(), 1u);
    EXPECT_EQ(record->GetJobID(), 0u);
    EXPECT_FALSE(record->GetIPPAttributeFidelity() || record->GetLastDocument() ||
                 record->GetMarginsPreApplied());
    unsigned crossFeed = 9;
    unsigned feed = 9;
    record->GetPrinterResolution(&crossFeed, &feed);
    EXPECT_EQ(crossFeed + feed, 0u);
    record->SetPrinterResolution(600, 300);
    record->GetPrinterResolution(&crossFeed, nullptr);
    record->GetPrinterResolution(nullptr, &feed);
    EXPECT_EQ(crossFeed * 1000 + feed, 600300u);
}

TEST(IPPRequestAttributes, KeepsBlobsInTheirOrder) {
    const DisposablePtr<IPPRequestBase> record(IPPRequestAttributes::Create());
    std::string encoded = Bytes::Integer("copies", 2) + Bytes::Keyword("sides", "one-sided");
    const std::string original = encoded;
    const auto* bytes = reinterpret_cast<const unsigned char*>(encoded.data());
    EXPECT_EQ(record->AddIPPRequest(2, bytes, static_cast<int>(encoded.size())), S_OK);
    encoded.assign(encoded.size(), '?');
    EXPECT_EQ(record->AddIPPRequest(7, bytes, 1), S_OK) << "bytes of any kind are the caller's affair";
    const unsigned char a4[] = {'a', '4'};
    EXPECT_EQ(record->AddIPPRequest(1, 0x44, "media", a4, 2), S_OK);
    EXPECT_EQ(record->AddIPPRequest(1, 0x13, "none", nullptr, 0), S_OK);

    std::vector<std::pair<unsigned, std::string>> blobs;
    for (const IPPAttributeBlob& blob : record->GetBlobVector())
        blobs.emplace_back(blob.type, std::string(blob.bytes.begin(), blob.bytes.end()));
    using Blob = std::pair<unsigned, std::string>;
    EXPECT_THAT(blobs,
                testing::ElementsAre(Blob(2, original), Blob(7, "?"), Blob(1, Bytes::Keyword("media", "a4")),
                                     Blob(1, Bytes::Value(0x13, "none", ""))));
    EXPECT_THAT(record->GetAttributesVector(), testing::ElementsAre("copies", "sides", "media", "none"));
}

TEST(IPPRequestAttributes, RefusesBlobsOfNothing) {
    const DisposablePtr<IPPRequestBase> record(IPPRequestAttributes::Create());
    const unsigned char byte[] = {1};
    const std::string longName(1024, 'n');
    for (const auto& [bytes, size] :
         {std::pair(static_cast<const unsigned char*>(nullptr), 1), {byte, 0}, {byte, -1}})
        EXPECT_EQ(record->AddIPPRequest(2, bytes, size), E_FAIL);
    const struct {
        unsigned char tag;
        const char* name;
        const unsigned char* value;
        int size;
    } cases[] = {{0x44, nullptr, byte, 1}, {0x44, "", byte, 1},   {0x44, longName.c_str(), byte, 1},
                 {0x44, "a", nullptr, 1},  {0x44, "a", byte, -1}, {0x01, "a", byte, 1}};
    for (const auto& [tag, name, value, size] : cases)
        EXPECT_EQ(record->AddIPPRequest(2, tag, name, value, size), E_FAIL);
    EXPECT_TRUE(record->GetBlobVector().empty());
    EXPECT_TRUE(record->GetAttributesVector().empty());
}

}  // namespace
}  // namespace Corvix
