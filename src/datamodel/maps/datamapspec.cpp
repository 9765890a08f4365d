#include "corvixdm/datamapspec.h"

#include "datamodel/maps/datamapspecimpl.h"
#include "datamodel/maps/protocols.h"
#include "utilslib/boundary.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

DataMapSpec::~DataMapSpec() = default;

DataMapSpec* DataMapSpec::CreateDataMapSpec() { return CreateDataMapSpec(DataMapTypeEnum::Unknown); }

DataMapSpec* DataMapSpec::CreateDataMapSpec(DataMapTypeEnum type) {
    return KyUtils::Entry(logSource, "Corvix::DataMapSpec::CreateDataMapSpec", [type] {
        return DisposablePtr<DataMapSpec>::Share(new DataMapSpecImpl(ProtocolText(type))).Release();
    });
}

DataMapSpec* DataMapSpec::CreateDataMapSpec(IXMLDOMNode* node) {
    return KyUtils::Entry(logSource, "Corvix::DataMapSpec::CreateDataMapSpec", [node] {
        auto map = DisposablePtr<DataMapSpecImpl>::Share(new DataMapSpecImpl);
        map->Read(node);
        return map.Release();
    });
}

}  // namespace Corvix
