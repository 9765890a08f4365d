// Memory that runs out at any point: one error, and nothing lost.
#include <gmock/gmock.h>

#include <comdef.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <new>

#include "corvixdm/datamapspec.h"
#include "support/dom.h"

namespace {

// The allocations of this program: those made while they are counted, and how many more may succeed.
struct Allocations {
    bool counted = false;
    long untilFailure = -1;
    long alive = 0;
};
Allocations allocations;

// Tells counted blocks from others when they are freed.
struct alignas(16) Header {
    bool counted;
};

}  // namespace

void* operator new(std::size_t size) {
    if (allocations.counted && allocations.untilFailure == 0) throw std::bad_alloc();
    if (allocations.counted) --allocations.untilFailure;
    auto* header = static_cast<Header*>(std::malloc(size + sizeof(Header)));
    if (!header) throw std::bad_alloc();
    header->counted = allocations.counted;
    if (header->counted) ++allocations.alive;
    return header + 1;
}

void operator delete(void* block) noexcept {
    if (!block) return;
    Header* header = static_cast<Header*>(block) - 1;
    if (header->counted) --allocations.alive;
    std::free(header);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

namespace Corvix {
namespace {

/// Runs `work` with its first allocation failing, then its second, and so on until it succeeds.
/// \return how often it failed.
int FailEveryAllocation(const std::function<void()>& work) {
    for (int failures = 0;; ++failures) {
        const long before = allocations.alive;
        HRESULT result = S_OK;
        allocations.untilFailure = failures;
        allocations.counted = true;
        try {
            work();
        } catch (const _com_error& error) {
            result = error.Error();
        }
        allocations.counted = false;
        EXPECT_EQ(allocations.alive, before) << "leaked when allocation " << failures << " failed";
        if (result == S_OK) return failures;
        EXPECT_EQ(result, E_OUTOFMEMORY);
    }
}

TEST(OutOfMemory, WhileADocumentIsRead) {
    const CorvixTest::Document document(
        L"<DataMaps><XMLDataMap Protocol='a protocol of some length'>"
        L"<DataItem Name='an item of some length' URI='/a/resource/of/some/length' XPath='//x'>"
        L"<Conversion Equals='a key of some length' Contains='another' Value='a value of some length'/>"
        L"</DataItem><StaticDataItem Name='constant'>a text of some length</StaticDataItem></XMLDataMap>"
        L"<OIDDataMap><GetDataItems Name='t' OID='1.3.6.1.2.1.N' N='1'/></OIDDataMap></DataMaps>");
    const auto root = document.Root();
    const int failures = FailEveryAllocation([&root] {
        DataMapSpecCollection::Dispose(DataMapSpecCollection::CreateDataMapSpecCollection(root.Get()));
    });
    EXPECT_GT(failures, 20);
}

TEST(OutOfMemory, WhileAnItemAnswers) {
    const std::unique_ptr<OIDGetDataItemsSpec> table(OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(
        L"t", L"1.3.6.1.2.1.43.8.2.1.13.1.N", nullptr, false, nullptr, 0, nullptr, true, 0, L"1"));
    EXPECT_GT(FailEveryAllocation([&table] { (void)table->GetOid(); }), 0);
    EXPECT_EQ(table->GetOid(), L"1.3.6.1.2.1.43.8.2.1.13.1.1") << "a failure used an index up";

    const CorvixTest::Document document(
        L"<DataItem><Conversion Contains='a piece, another piece' Value='a value of some "
        L"length'/></DataItem>");
    const std::unique_ptr<XMLDataItemSpec> item(XMLDataItemSpec::CreateXMLDataItem(document.Root().Get()));
    const auto raw = KyUtils::Variant::FromText(L"a raw value with another piece");
    EXPECT_GT(FailEveryAllocation([&] { KyUtils::Variant::Adopt(item->ConvertValue(raw.Get())); }), 0);
}

TEST(OutOfMemory, WhileAnItemIsAdded) {
    const int failures = FailEveryAllocation([] {
        const DisposablePtr<DataMapSpec> map(DataMapSpec::CreateDataMapSpec());
        map->AddDataItemSpec(L"a name of some length",
                             StaticDataItemSpec::CreateStaticDataItemSpec(L"n", L"v", nullptr));
    });
    EXPECT_GT(failures, 2);
}

}  // namespace
}  // namespace Corvix
