/* Tells about a printer from plain C: deviceinfo HOST [PORT-MAP] */
#include <stdio.h>

#include "corvixdm/deviceinfo.h"
#include "transport/nettransport_c.h"

static int PrintDeviceIdItem(CorvixAddress* printer, const wchar_t* key) {
    wchar_t* value = NULL;
    if (GetDeviceIDStringItem(printer, key, &value) != S_OK) return 0;
    printf("%ls: %ls\n", key, value);
    DisposeDeviceIDStringItem(value);
    return 1;
}

static int PrintMediaTypes(CorvixAddress* printer) {
    CorvixMediaTypesList* types = CreateMediaTypesList();
    const int found = types && GetMediaTypesList(printer, types) == S_OK;
    unsigned i;
    for (i = 0; found && i < GetMediaTypeCount(types); ++i)
        printf("media type: %ls\n", GetMediaType(types, i));
    DisposeMediaTypesList(types);
    return found;
}

static int PrintStringsUri(CorvixAddress* printer, const wchar_t* locale) {
    wchar_t* uri = NULL;
    if (GetPrinterStringsUri(printer, locale, &uri) != S_OK) return 0;
    printf("strings: %ls\n", uri);
    DisposePrinterStringsUri(uri);
    return 1;
}

int wmain(int count, wchar_t** arguments) {
    CorvixAddress* printer;
    int found = 0;
    if (count < 2) return 2;
    printer = CreateNetworkAddress(arguments[1], count > 2 ? arguments[2] : NULL);
    if (!printer) return 2;
    found += PrintDeviceIdItem(printer, L"MFG");
    found += PrintDeviceIdItem(printer, L"MDL");
    found += PrintMediaTypes(printer);
    found += PrintStringsUri(printer, L"en");
    DisposeNetworkAddress(printer);
    if (found == 0) fprintf(stderr, "deviceinfo: the printer did not answer\n");
    return found > 0 ? 0 : 1;
}
