// Every item of a map, read through the library, beside what is expected of it.
#pragma once

#include <string>

#include "corvixdm/corvixdm.h"
#include "expected.h"

namespace SnmpPeer {

class Comparison {
public:
    // Throws std::runtime_error when the map does not load or does not fit the device.
    Comparison(Corvix::Address& device, const std::wstring& mapFile, ExpectedObjects expected);

    // Prints a line for each value that is not as expected.
    void Run();
    int Agreed() const { return agreed_; }
    int Disagreed() const { return disagreed_; }

private:
    void Compare(Corvix::OIDDataItemSpec& item);
    void CompareGroup(const Corvix::OIDDataItemSpec& item);
    void CompareWalk(const Corvix::NextOIDDataItemSpec& item);
    void CompareTable(const Corvix::OIDGetDataItemsSpec& item);
    // Null expects that there is no such value.
    void Check(const std::wstring& name, const Corvix::DataItemSpec& item, const ExpectedValue* expected);
    void Count(const std::wstring& name, const std::wstring& expected, const std::wstring& value);
    std::wstring Read(const std::wstring& name);

    ExpectedObjects expected_;
    Corvix::DisposablePtr<Corvix::DataMapSpec> map_;
    Corvix::DisposablePtr<Corvix::DataCollection> collection_;
    int agreed_ = 0;
    int disagreed_ = 0;
};

}  // namespace SnmpPeer
