// The exported factories of the IPP records.
#include "datamodel/ipp/ipprequestattributes.h"
#include "datamodel/ipp/ippresponseattribute.h"

Corvix::IPPRequestBase* CreateIPPRequest() { return Corvix::IPPRequestAttributes::Create(); }

Corvix::IPPResponseBase* CreateIPPResponse() { return Corvix::IPPResponseAttributes::Create(); }
