#include "corvixdm/oidprovider.h"

namespace Corvix {

OIDProvider::~OIDProvider() = default;

}  // namespace Corvix
