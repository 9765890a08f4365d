#include "control.h"

#include <stdexcept>

#include "text.h"

namespace CorvixSim {
namespace {

constexpr size_t kMaxBody = 64 << 20;
constexpr std::string_view kDocuments = "/sim/documents/";

HttpResponse Json(std::string text) {
    HttpResponse response;
    response.contentType = "application/json";
    response.body = std::move(text);
    return response;
}

}  // namespace

struct Control::Command {
    std::string_view method;
    std::string_view path;
    HttpResponse (Control::*run)(const std::string& text);
    std::string_view help;
};

const Control::Command Control::kCommands[] = {
    {"GET", "/sim/counters", &Control::ShowCounters, "requests by service and path, as JSON"},
    {"POST", "/sim/counters/reset", &Control::ResetCounters, "sets them to 0"},
    {"GET", "/sim/values", &Control::ShowValues, "the values of the device, as JSON"},
    {"POST", "/sim/values", &Control::SetValues, "sets values; a line 'name=value' each"},
    {"GET", "/sim/faults", &Control::ShowFaults, "the fault rules, a line each"},
    {"POST", "/sim/faults", &Control::AddFaults, "adds fault rules, a line each"},
    {"POST", "/sim/faults/clear", &Control::ClearFaults, "removes all fault rules"},
    {"POST", "/sim/quit", &Control::Quit, "ends the simulator"},
};

HttpResponse Control::Handle(const HttpRequest& request, HttpBody& body) {
    if (request.method == "PUT" && StartsWith(request.path, kDocuments)) {
        return PutDocument(request.path.substr(kDocuments.size()), body.ReadAll(kMaxBody));
    }
    bool knownPath = false;
    for (const Command& command : kCommands) {
        if (command.path != request.path) continue;
        knownPath = true;
        if (command.method == request.method) return (this->*command.run)(body.ReadAll(kMaxBody));
    }
    return knownPath ? PlainResponse(405) : PlainResponse(404, "The paths are:\n" + Help());
}

std::string Control::Help() {
    std::string help;
    for (const Command& command : kCommands) {
        std::string line = "  " + std::string(command.method) + " " + std::string(command.path);
        line.resize(32, ' ');
        help += line + std::string(command.help) + "\n";
    }
    return help +
           "  PUT /sim/documents/PORT/PATH  puts or replaces a document of that port of a real device\n";
}

HttpResponse Control::ShowCounters(const std::string&) { return Json(device_.counters.Json()); }

HttpResponse Control::ResetCounters(const std::string&) {
    device_.counters.Reset();
    return PlainResponse(200);
}

HttpResponse Control::ShowValues(const std::string&) { return Json(device_.values.Json()); }

HttpResponse Control::SetValues(const std::string& text) {
    device_.values.Load(text);
    return PlainResponse(200);
}

HttpResponse Control::ShowFaults(const std::string&) {
    HttpResponse response;
    for (const std::string& rule : device_.faults.Rules())
        response.body += rule + "\n";
    return response;
}

HttpResponse Control::AddFaults(const std::string& text) {
    device_.faults.Add(text);
    return PlainResponse(200);
}

HttpResponse Control::ClearFaults(const std::string&) {
    device_.faults.Clear();
    return PlainResponse(200);
}

HttpResponse Control::Quit(const std::string&) {
    quit_();
    return PlainResponse(200, "Bye");
}

HttpResponse Control::PutDocument(const std::string& place, std::string text) {
    const size_t slash = place.find('/');
    const auto port = ParseNumber(place.substr(0, slash), 65535);
    if (slash == std::string::npos || !port)
        throw std::invalid_argument("not of the form PORT/PATH: " + place);
    device_.documents.Put(static_cast<unsigned>(*port), place.substr(slash), std::move(text));
    return PlainResponse(201);
}

}  // namespace CorvixSim
