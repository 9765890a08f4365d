#include "datamodel/xml/plsxmlproviderimpl.h"

namespace Corvix {

DisposablePtr<IXMLProvider> PLSXMLProviderImpl::Create(Address* address) {
    if (!address) return {};
    return DisposablePtr<IXMLProvider>::Share(new PLSXMLProviderImpl(address));
}

}  // namespace Corvix
