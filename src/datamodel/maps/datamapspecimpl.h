/// A data map's items and its position of iteration.
#pragma once

#include "corvixdm/datamapspec.h"
#include "utilslib/disposable.h"

namespace Corvix {

class DataMapSpecImpl final : public DataMapSpec, public KyUtils::IDisposableImpl {
public:
    explicit DataMapSpecImpl(std::wstring protocol = {}) : protocol_(std::move(protocol)) {}

    /// Takes over what a map element says; to be called once, on a new map.
    void Read(IXMLDOMNode* node);

    void AddDataItemSpec(const wchar_t* name, CvxDataItem* item) override;
    CvxDataItem* GetDataItemSpec(const wchar_t* name) const override;
    void Begin() override;
    CvxDataItem* GetNextDataItemSpec() override;
    void RemoveFromMap() override;
    unsigned SizeOf() const override;
    std::wstring GetProtocolType() const override;
    DataMapTypeEnum GetDataMapType() const override;
    const Items& GetItems() const override { return items_; }

private:
    Items items_;
    Items::iterator position_ = items_.end();
    Items::iterator lastReturned_ = items_.end();
    std::wstring protocol_;
};

}  // namespace Corvix
