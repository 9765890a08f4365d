#include "datamodel/snmp/oidtext.h"

#include <gmock/gmock.h>

namespace Corvix {
namespace {

TEST(OidText, IsOrderedByItsArcs) {
    const wchar_t* const ascending[] = {
        L"",
        L"0",
        L"1",
        L"1.3.6.1.2",
        L"1.3.6.1.2.0",
        L"1.3.6.1.2.1",
        L"1.3.6.1.2.9",
        L"1.3.6.1.2.10",
        L"1.3.6.1.2.10.1",
        L"1.3.6.1.2.11",
        L"1.3.6.1.10.1",
        L"2",
        L"2.99999999999999999999999",
        L"2.100000000000000000000000",
    };
    for (const wchar_t* const& left : ascending) {
        for (const wchar_t* const& right : ascending) {
            const int order = CompareOids(left, right);
            EXPECT_EQ(order < 0, &left < &right) << left << L" " << right;
            EXPECT_EQ(order == 0, &left == &right) << left << L" " << right;
        }
    }
    EXPECT_EQ(CompareOids(L".1.3.6", L"1.03.6"), 0) << "written otherwise, but the same";
}

struct BelowCase {
    const wchar_t* root;
    const wchar_t* oid;
    bool below;
};

TEST(OidText, TellsWhatLiesBelow) {
    const BelowCase cases[] = {
        {L"1.3.6", L"1.3.6.1", true},  {L"1.3.6", L"1.3.6.1.2.3", true},
        {L"1.3.6", L"1.3.6", false},   {L"1.3.6", L"1.3.60", false},
        {L"1.3.6", L"1.3.7.1", false}, {L"1.3.6", L"1.3", false},
        {L".1.3.6", L"1.3.6.1", true}, {L"", L"1", true},
        {L"1.3.6", L"", false},
    };
    for (const BelowCase& each : cases)
        EXPECT_EQ(IsBelowOid(each.root, each.oid), each.below) << each.oid;
    EXPECT_EQ(ParentOid(L"1.3.6.1"), L"1.3.6");
    EXPECT_EQ(ParentOid(L"1"), L"");
}

}  // namespace
}  // namespace Corvix
