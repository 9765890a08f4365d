// bench_cups_exchanges PORT COUNT: asks the printer at that port of this machine for all its attributes,
// COUNT times over one connection, with libcups, and prints how many seconds that took.
#include <cups/cups.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

#include "support/figure.h"

namespace {

struct CloseConnection {
    void operator()(http_t* connection) const { httpClose(connection); }
};
using Connection = std::unique_ptr<http_t, CloseConnection>;

void Exchange(http_t* connection, const std::string& uri) {
    ipp_t* request = ippNewRequest(IPP_OP_GET_PRINTER_ATTRIBUTES);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri.c_str());
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr, "all");
    ipp_t* response = cupsDoRequest(connection, request, "/ipp/print");
    const bool answered = response && ippGetStatusCode(response) == IPP_STATUS_OK &&
                          ippFindAttribute(response, "printer-name", IPP_TAG_NAME);
    ippDelete(response);
    if (!answered) throw std::runtime_error(cupsLastErrorString());
}

int Main(int port, int count) {
    const Connection connection(
        httpConnect2("127.0.0.1", port, nullptr, AF_INET, HTTP_ENCRYPTION_IF_REQUESTED, 1, 5000, nullptr));
    if (!connection) throw std::runtime_error("no connection");
    const std::string uri = "ipp://127.0.0.1:" + std::to_string(port) + "/ipp/print";
    Exchange(connection.get(), uri);
    std::printf("%.6f\n", CorvixBench::SecondsOf([&] {
                    for (int i = 0; i < count; ++i)
                        Exchange(connection.get(), uri);
                }));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    try {
        return Main(std::atoi(argv[1]), std::atoi(argv[2]));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "error: %s\n", error.what());
        return 1;
    }
}
