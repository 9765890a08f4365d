/// \file corvixdm.h
/// Everything a caller of corvixdm64 includes.
#pragma once

#include "cacheprovider.h"
#include "datacollection.h"
#include "dataitemspec.h"
#include "datamapspec.h"
#include "deviceinfo.h"
#include "disposable.h"
#include "disposableptr.h"
#include "documentfault.h"
#include "ippattributes.h"
#include "ippprovider.h"
#include "ipprequest.h"
#include "ippresponse.h"
#include "logmonitor.h"
#include "oidprovider.h"
#include "pavoprovider.h"
#include "singlerequest.h"
#include "transport.h"
#include "wsprovider.h"
#include "xmlprovider.h"
