// What an answer of a data collection costs, asked as a caller asks: figures store.get.ratio and
// xml.requests_per_100_items.
#include <windows.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "corvixdm/corvixdm.h"
#include "support/faketransport.h"
#include "support/figure.h"

namespace {

using Corvix::DataCollection;
using Corvix::DisposablePtr;
using CorvixTest::FakeAddress;
using CorvixTest::FakeDevice;

constexpr int entryCount = 100'000;
constexpr unsigned aDay = 864'000;

[[noreturn]] void Abort(const char* what) {
    std::fputs(what, stderr);
    std::exit(1);
}

DisposablePtr<DataCollection> CreateCollection(const std::shared_ptr<FakeDevice>& device,
                                               const std::wstring& items) {
    const DisposablePtr<Corvix::Address> address(new FakeAddress(device));
    const std::wstring document =
        L"<DataMaps><XMLDataMap Protocol='PLSXML'>" + items + L"</XMLDataMap></DataMaps>";
    DisposablePtr<DataCollection> collection;
    if (CreateDataCollectionFromXML(address.Get(), document.c_str(), collection.Receive(), nullptr) != S_OK) {
        Abort("no collection\n");
    }
    return collection;
}

/// The names that are asked for, in an order that has nothing to do with theirs.
std::vector<std::wstring> ShuffledNames() {
    std::vector<std::wstring> names;
    for (int i = 0; i < entryCount; ++i) {
        names.push_back(L"Supplies.Marker." + std::to_wstring(i * 61'357ll % entryCount));
    }
    return names;
}

/// A map that owns its values as plainly as it can.
class BareStore {
public:
    BareStore() = default;
    BareStore(const BareStore&) = delete;
    BareStore& operator=(const BareStore&) = delete;
    ~BareStore() {
        for (auto& entry : values_)
            VariantClear(&entry.second);
    }
    void Put(const std::wstring& name, VARIANT& value) { VariantCopy(&values_[name], &value); }
    void Get(const wchar_t* name, VARIANT& value) {
        const auto found = values_.find(std::wstring_view(name));
        if (found == values_.end()) Abort("not in the bare store\n");
        VariantCopy(&value, &found->second);
    }

private:
    std::map<std::wstring, VARIANT, std::less<>> values_;
};

template <class Get>
double SecondsOfReading(const std::vector<std::wstring>& names, Get get) {
    return CorvixBench::SecondsOf([&] {
        for (const std::wstring& name : names) {
            VARIANT value;
            VariantInit(&value);
            get(name.c_str(), value);
            VariantClear(&value);
        }
    });
}

double StoreRatio() {
    const DisposablePtr<DataCollection> collection = CreateCollection(std::make_shared<FakeDevice>(), L"");
    BareStore bare;
    const std::vector<std::wstring> names = ShuffledNames();
    VARIANT text;
    text.vt = VT_BSTR;
    text.bstrVal = SysAllocString(L"Black toner cartridge");
    for (const std::wstring& name : names) {
        bare.Put(name, text);
        if (collection->StoreValue(name.c_str(), text, aDay) != S_OK) Abort("not stored\n");
    }
    VariantClear(&text);
    return CorvixBench::MedianOf(9, [&] {
        const double plain =
            SecondsOfReading(names, [&](const wchar_t* name, VARIANT& value) { bare.Get(name, value); });
        const double ours = SecondsOfReading(names, [&](const wchar_t* name, VARIANT& value) {
            if (collection->GetValue(name, &value) != S_OK) Abort("not answered\n");
        });
        return ours / plain;
    });
}

double RequestsPer100Items() {
    std::wstring items;
    std::string resource;
    for (int i = 0; i < 100; ++i) {
        const std::string number = std::to_string(i);
        const std::wstring wide(number.begin(), number.end());
        items += L"<DataItem Name='Item" + wide + L"' URI='/a.xml' XPath='//i" + wide + L"'/>";
        resource += "<i" + number + ">value</i" + number + ">";
    }
    const auto device = std::make_shared<FakeDevice>();
    device->resources[L"/a.xml"] = {200, "<a>" + resource + "</a>"};
    const DisposablePtr<DataCollection> collection = CreateCollection(device, items);
    for (int i = 0; i < 100; ++i) {
        VARIANT value;
        VariantInit(&value);
        if (collection->GetValue((L"Item" + std::to_wstring(i)).c_str(), &value) != S_OK) Abort("not read\n");
        VariantClear(&value);
    }
    return static_cast<double>(device->exchanges.size());
}

}  // namespace

int wmain() {
    CorvixBench::PrintFigure("store.get.ratio", StoreRatio(), "ratio");
    CorvixBench::PrintFigure("xml.requests_per_100_items", RequestsPer100Items(), "requests");
    return 0;
}
