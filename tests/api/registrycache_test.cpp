// Looking after what registry caches keep.
#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "corvixdm/corvixdm.h"
#include "support/registrysandbox.h"
#include "utilslib/com.h"

namespace Corvix {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const wchar_t* root = L"Software\\Test";

void Store(const wchar_t* key, const wchar_t* name, const std::wstring& text) {
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_SZ, text.c_str(),
                    static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

void StoreNumber(const wchar_t* key, const wchar_t* name, DWORD number) {
    RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_DWORD, &number, sizeof number);
}

bool IsThere(const wchar_t* key, const wchar_t* name = nullptr) {
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key, 0, KEY_READ, &opened) != ERROR_SUCCESS) return false;
    const bool found =
        !name || RegQueryValueExW(opened, name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    RegCloseKey(opened);
    return found;
}

std::vector<std::wstring> List(const wchar_t* rootPath = root) {
    std::vector<std::wstring> lines;
    const auto note = [](const RegCacheEntry* entry, void* context) {
        static_cast<std::vector<std::wstring>*>(context)->push_back(
            std::wstring(entry->device) + L"|" + entry->protocol + L"|" + entry->name + L"|" +
            std::wstring(KyUtils::Variant::ToText(entry->value).Text()) + L"|" +
            std::to_wstring(entry->timeStamp));
    };
    EXPECT_EQ(ListRegCache(rootPath, note, &lines), S_OK);
    return lines;
}

class RegistryCaches : public testing::Test {
protected:
    RegistryCaches() {
        Store(L"Software\\Test\\One\\OID", L"Name", L"A printer");
        Store(L"Software\\Test\\One\\OID", L"Name.Expires", L"133");
        StoreNumber(L"Software\\Test\\One\\OID", L"Count", 7);
        Store(L"Software\\Test\\One\\OID", L"Count.Expires", L"0");
        Store(L"Software\\Test\\Two\\pavo", L"Level", L"5");
        Store(L"Software\\Test\\Two\\pavo", L"Level.Expires", L"x");
        // What is not the cache's: a value without a time stamp, a key that is no protocol's.
        Store(L"Software\\Test\\Two\\pavo", L"Foreign", L"1");
        Store(L"Software\\Test\\Two\\Other", L"a", L"1");
        Store(L"Software\\Test\\Two\\Other", L"a.Expires", L"1");
        // A device that is remembered.
        Store(root, L"host [Pavo,OID]", L"OID One");
        Store(root, L"host [Pavo,OID].Expires", L"1");
    }

    const CorvixTest::RegistrySandbox sandbox_{HKEY_LOCAL_MACHINE};
};

TEST_F(RegistryCaches, AreListed) {
    const auto all = ElementsAre(L"One|OID|Count|7|0", L"One|OID|Name|A printer|133", L"Two|pavo|Level|5|0");
    EXPECT_THAT(List(), all);
    EXPECT_THAT(List(L"\\Software\\Test\\"), all);
    EXPECT_THAT(List(L"Software\\Elsewhere"), IsEmpty());
}

TEST_F(RegistryCaches, AreClearedOfTheirValuesAlone) {
    unsigned removed = 0;
    EXPECT_EQ(ClearRegCache(root, &removed), S_OK);
    EXPECT_EQ(removed, 3u);
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_FALSE(IsThere(L"Software\\Test\\One")) << "empty";
    EXPECT_FALSE(IsThere(L"Software\\Test\\Two\\pavo", L"Level.Expires"));
    EXPECT_TRUE(IsThere(L"Software\\Test\\Two\\pavo", L"Foreign"));
    EXPECT_TRUE(IsThere(L"Software\\Test\\Two\\Other", L"a"));
    EXPECT_TRUE(IsThere(root)) << "the caller's own key";
    EXPECT_FALSE(IsThere(root, L"host [Pavo,OID]"));
    EXPECT_FALSE(IsThere(root, L"host [Pavo,OID].Expires"));
    EXPECT_EQ(ClearRegCache(root, &removed), S_OK);
    EXPECT_EQ(removed, 0u);
    EXPECT_EQ(ClearRegCache(L"Software\\Elsewhere", nullptr), S_OK);
}

TEST_F(RegistryCaches, TellWhetherTheyCanBeWritten) {
    EXPECT_EQ(CheckRegCacheAccess(L"Software\\New\\Cache"), S_OK);
    EXPECT_TRUE(IsThere(L"Software\\New\\Cache"));
    const std::wstring tooLong(300, L'x');
    EXPECT_TRUE(FAILED(CheckRegCacheAccess(tooLong.c_str())));
}

}  // namespace
}  // namespace Corvix
