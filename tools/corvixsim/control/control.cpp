#include "control/control.h"

#include <stdexcept>

#include "base/text.h"
#include "http/receiver.h"
#include "ipp/attributetext.h"

namespace CorvixSim {
namespace {

// For documents that are put, which may be large on purpose.
constexpr size_t kMaxBody = 64 << 20;
constexpr std::string_view kDocuments = "/sim/documents/";
constexpr std::string_view kJobs = "/sim/jobs/";
// Known by its path, as it does more than change the device.
constexpr std::string_view kQuit = "/sim/quit";

HttpResponse Json(std::string text) {
    HttpResponse response;
    response.contentType = "application/json";
    response.body = std::move(text);
    return response;
}

std::string JsonOf(const JobDocument& document) {
    return "{\"name\":" + JsonText(document.name) + ",\"format\":" + JsonText(document.format) +
           ",\"path\":" + JsonText(document.path) + ",\"uri\":" + JsonText(document.uri) +
           ",\"octets\":" + std::to_string(document.octets) + "}";
}

std::string JsonOf(const std::vector<IppAttribute>& attributes) {
    return "{" +
           Joined(attributes,
                  [](const IppAttribute& attribute) {
                      return JsonText(attribute.name) + ":" +
                             JsonText(Joined(attribute.values, FormatIppValue));
                  }) +
           "}";
}

std::string JsonOf(const Job& job) {
    return "{\"id\":" + std::to_string(job.id) + ",\"name\":" + JsonText(job.name) +
           ",\"user\":" + JsonText(job.user) + ",\"state\":" + JsonText(NameOf(job.state)) +
           ",\"reasons\":[" + Joined(job.reasons, JsonText) + "],\"octets\":" + std::to_string(job.octets) +
           ",\"attributes\":" + JsonOf(job.attributes) + ",\"documents\":[" +
           Joined(job.documents, [](const JobDocument& document) { return JsonOf(document); }) + "]}";
}

HttpResponse Done() { return PlainResponse(200); }

HttpResponse ShowFaults(Device& device, const std::string&) {
    HttpResponse response;
    for (const std::string& rule : device.faults.Rules())
        response.body += rule + "\n";
    return response;
}

HttpResponse ShowJobs(Device& device, const std::string&) {
    std::string jobs;
    for (const Job& job : device.jobs.All())
        jobs += (jobs.empty() ? "" : ",\n") + JsonOf(job);
    return Json("[" + jobs + "]\n");
}

HttpResponse StepJob(Device& device, const std::string& id, const std::string& text) {
    const auto number = ParseInteger(id);
    if (!number) throw std::invalid_argument("not a job: " + id);
    try {
        device.jobs.Apply(*number, ParseJobStep(text));
        return Done();
    } catch (const IppError& error) {
        return PlainResponse(error.Status() == IppStatus::NotFound ? 404 : 400, error.what());
    }
}

HttpResponse PutDocument(Device& device, const std::string& place, std::string text) {
    const size_t slash = place.find('/');
    const auto port = ParseNumber(place.substr(0, slash), 65535);
    if (slash == std::string::npos || !port)
        throw std::invalid_argument("not of the form PORT/PATH: " + place);
    device.documents.Put(static_cast<unsigned>(*port), place.substr(slash), std::move(text));
    return PlainResponse(201);
}

struct Command {
    std::string_view method;
    std::string_view path;
    HttpResponse (*run)(Device& device, const std::string& text);
    std::string_view help;
};

constexpr Command kCommands[] = {
    {"GET", "/sim/counters", [](Device& device, const std::string&) { return Json(device.counters.Json()); },
     "requests by service and path, as JSON"},
    {"POST", "/sim/counters/reset",
     [](Device& device, const std::string&) { return device.counters.Reset(), Done(); }, "sets them to 0"},
    {"GET", "/sim/values", [](Device& device, const std::string&) { return Json(device.values.Json()); },
     "the values of the device, as JSON"},
    {"POST", "/sim/values",
     [](Device& device, const std::string& text) { return device.values.Load(text), Done(); },
     "sets values; a line 'name=value' each"},
    {"GET", "/sim/faults", ShowFaults, "the fault rules, a line each"},
    {"POST", "/sim/faults",
     [](Device& device, const std::string& text) { return device.faults.Add(text), Done(); },
     "adds fault rules, a line each"},
    {"POST", "/sim/faults/clear",
     [](Device& device, const std::string&) { return device.faults.Clear(), Done(); },
     "removes all fault rules"},
    {"GET", "/sim/jobs", ShowJobs, "the print jobs, as JSON"},
    {"POST", "/sim/scenario",
     [](Device& device, const std::string& text) { return device.jobs.SetScenario(text), Done(); },
     "another scenario for the jobs to come"},
    {"POST", kQuit, [](Device&, const std::string&) { return PlainResponse(200, "Bye"); },
     "ends the simulator"},
};

}  // namespace

HttpResponse Control::Handle(const HttpRequest& request, HttpReceiver& receiver) {
    const std::string body = receiver.ReadAll(kMaxBody);
    if (request.method == "PUT" && StartsWith(request.path, kDocuments))
        return PutDocument(device_, request.path.substr(kDocuments.size()), body);
    if (request.method == "POST" && StartsWith(request.path, kJobs))
        return StepJob(device_, request.path.substr(kJobs.size()), body);
    // A known path with another method is told apart from a path that does not exist.
    bool knownPath = false;
    for (const Command& command : kCommands) {
        if (command.path != request.path) continue;
        knownPath = true;
        if (command.method != request.method) continue;
        HttpResponse response = command.run(device_, body);
        // After the answer, so that whoever ends the simulator learns that it does.
        if (command.path == kQuit) response.afterwards = quit_;
        return response;
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

}  // namespace CorvixSim
