#include "corvixdm/dataitemspec.h"

#include "datamodel/dom/domreader.h"
#include "datamodel/maps/itemtext.h"

namespace Corvix {

DataItemSpec::DataItemSpec(const wchar_t* name, bool transient, const wchar_t* prefix,
                           unsigned long long lifespan, const wchar_t* type)
    : CvxDataItem(name, prefix),
      lifespan_(static_cast<unsigned>(lifespan)),
      transient_(transient),
      type_(CopyText(type)) {}

DataItemSpec::DataItemSpec(const DomElement& element)
    : CvxDataItem(element),
      lifespan_(UlongValueOf(element, L"LifeSpan")),
      transient_(BoolValueOf(element, L"Transient")),
      type_(TextValueOf(element, L"Type")) {
    AddToConversionCollection(element);
}

void DataItemSpec::Initialize() {
    lifespan_ = 0;
    transient_ = false;
    type_.reset();
}

const wchar_t* DataItemSpec::GetType() const { return TextOrNull(type_); }

bool DataItemSpec::IsTransient() const { return transient_; }

unsigned DataItemSpec::GetLifespan() const { return lifespan_; }

}  // namespace Corvix
