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
struct TextPair {
    void (Record::*set)(const Character*);
    const Character* (Record::*get)() const;
};

template <class Record, class Character, std::size_t count>
void ExpectTexts(Record& record, const TextPair<Record, Character> (&pairs)[count], const Character* first,
                 const Character* second) {
    for (const auto& pair : pairs)
        EXPECT_EQ((record.*pair.get)(), nullptr);
    for (const auto& pair : pairs) {
        std::basic_string<Character> text = first;
        (record.*pair.set)(text.c_str());
        text.assign(text.size(), Character('?'));
        EXPECT_EQ(std::basic_string<Character>((record.*pair.get)()), first) << "it is a copy";
        (record.*pair.set)(second);
        EXPECT_EQ(std::basic_string<Character>((record.*pair.get)()), second);
    }
    for (const auto& pair : pairs) {
        EXPECT_EQ(std::basic_string<Character>((record.*pair.get)()), second) << "no text has two owners";
        (record.*pair.set)((record.*pair.get)());
        EXPECT_EQ(std::basic_string<Character>((record.*pair.get)()), second) << "its own text may be set";
        (record.*pair.set)(nullptr);
        EXPECT_EQ((record.*pair.get)(), nullptr);
    }
}

TEST(IPPRequestAttributes, KeepsCopiesOfItsTexts) {
    using R = IPPRequestBase;
    const TextPair<R, char> narrow[] = {
        {&R::SetPrinterURI, &R::GetPrinterURI},     {&R::SetRequestingUserName, &R::GetRequestingUserName},
        {&R::SetDocumentUri, &R::GetDocumentUri},   {&R::SetJobName, &R::GetJobName},
        {&R::SetDocumentName, &R::GetDocumentName}, {&R::SetJobURI, &R::GetJobURI},
    };
    const TextPair<R, wchar_t> wide[] = {
        {&R::SetUsername, &R::GetUsername},
        {&R::SetPassword, &R::GetPassword},
        {&R::SetAuthorization, &R::GetAuthorization},
    };
    const DisposablePtr<IPPRequestBase> record(IPPRequestAttributes::Create());
    EXPECT_EQ(record->GetRefCount(), 1);
    ExpectTexts(*record, narrow, "first, and long enough to live on the heap", "second");
    ExpectTexts(*record, wide, L"first, and long enough to live on the heap", L"second");
}

TEST(IPPResponseAttributes, KeepsCopiesOfItsTexts) {
    using R = IPPResponseBase;
    const TextPair<R, char> texts[] = {
        {&R::SetSuccess, &R::GetSuccessStatus},
        {&R::SetRequestID, &R::GetRequestID},
        {&R::SetDocumentAccessError, &R::GetDocumentAccessError},
        {&R::SetJobURI, &R::GetJobURI},
        {&R::SetJobID, &R::GetJobID},
        {&R::SetJobState, &R::GetJobState},
        {&R::SetJobStateReasons, &R::GetJobStateReasons},
    };
    const DisposablePtr<IPPResponseBase> record(IPPResponseAttributes::Create());
    EXPECT_EQ(record->GetRefCount(), 1);
    ExpectTexts(*record, texts, "first, and long enough to live on the heap", "second");
}

struct NumberPair {
    void (IPPRequestBase::*set)(int);
    int (IPPRequestBase::*get)() const;
    int initially;
};

TEST(IPPRequestAttributes, BeginsWithWhatIsNotSent) {
    using R = IPPRequestBase;
    const NumberPair numbers[] = {
        {&R::SetMultipleDocHandling, &R::GetMultipleDocHandling, -1},
        {&R::SetPrintingSides, &R::GetPrintingSides, 3},
        {&R::SetOrientationRequested, &R::GetOrientationRequested, 2},
        {&R::SetPrintQuality, &R::GetPrintQuality, 2},
        {&R::SetOutputMode, &R::GetOutputMode, 0},
        {&R::SetPrintContentOptimize, &R::GetPrintContentOptimize, 0},
        {&R::SetPrinterResolutionUnits, &R::GetPrinterResolutionUnits, 3},
    };
    const DisposablePtr<IPPRequestBase> record(IPPRequestAttributes::Create());
    int value = 40;
    for (const NumberPair& pair : numbers) {
        EXPECT_EQ(((*record).*pair.get)(), pair.initially);
        ((*record).*pair.set)(++value);
    }
    value = 40;
    for (const NumberPair& pair : numbers)
        EXPECT_EQ(((*record).*pair.get)(), ++value);

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
    EXPECT_EQ(crossFeed, 600u);
    EXPECT_EQ(feed, 300u);
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
    EXPECT_EQ(record->AddIPPRequest(2, nullptr, 1), E_FAIL);
    EXPECT_EQ(record->AddIPPRequest(2, byte, 0), E_FAIL);
    EXPECT_EQ(record->AddIPPRequest(2, byte, -1), E_FAIL);
    EXPECT_EQ(record->AddIPPRequest(2, 0x44, nullptr, byte, 1), E_FAIL);
    EXPECT_EQ(record->AddIPPRequest(2, 0x44, "", byte, 1), E_FAIL);
    EXPECT_EQ(record->AddIPPRequest(2, 0x44, longName.c_str(), byte, 1), E_FAIL);
    EXPECT_EQ(record->AddIPPRequest(2, 0x44, "a", nullptr, 1), E_FAIL);
    EXPECT_EQ(record->AddIPPRequest(2, 0x44, "a", byte, -1), E_FAIL);
    EXPECT_EQ(record->AddIPPRequest(2, 0x01, "a", byte, 1), E_FAIL);
    EXPECT_TRUE(record->GetBlobVector().empty());
    EXPECT_TRUE(record->GetAttributesVector().empty());
}

}  // namespace
}  // namespace Corvix
