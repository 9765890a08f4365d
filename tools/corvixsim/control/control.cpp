#include "control/control.h"

#include <stdexcept>

#include "base/text.h"
#include "http/receiver.h"
#include "ipp/attributetext.h"

namespace CorvixSim {
namespace {

constexpr size_t kMaxBody = 64 << 20;
constexpr std::string_view kDocuments = "/sim/documents/";
constexpr std::string_view kJobs = "/sim/jobs/";

HttpResponse Json(std::string text) {
    HttpResponse response;
    response.contentType = "application/json";
    response.body = std::move(text);
    return response;
}

/// The parts in brackets, separated by commas.
template <typename Items, typename Show>
std::string JsonList(const Items& items, Show show) {
    std::string list;
    for (const auto& item : items)
        list += (list.empty() ? "" : ",") + show(item);
    return "[" + list + "]";
}

std::string JsonOf(const JobDocument& document) {
    return "{\"name\":" + JsonText(document.name) + ",\"format\":" + JsonText(document.format) +
           ",\"path\":" + JsonText(document.path) + ",\"uri\":" + JsonText(document.uri) +
           ",\"octets\":" + std::to_string(document.octets) + "}";
}

std::string JsonOf(const std::vector<IppAttribute>& attributes) {
    std::string members;
    for (const IppAttribute& attribute : attributes) {
        std::string text;
        for (const IppValue& value : attribute.values)
            text += (text.empty() ? "" : ",") + FormatIppValue(value);
        members += (members.empty() ? "" : ",") + JsonText(attribute.name) + ":" + JsonText(text);
    }
    return "{" + members + "}";
}

std::string JsonOf(const Job& job) {
    return "{\"id\":" + std::to_string(job.id) + ",\"name\":" + JsonText(job.name) +
           ",\"user\":" + JsonText(job.user) + ",\"state\":" + JsonText(NameOf(job.state)) +
           ",\"reasons\":" + JsonList(job.reasons, JsonText) + ",\"octets\":" + std::to_string(job.octets) +
           ",\"attributes\":" + JsonOf(job.attributes) + ",\"documents\":" +
           JsonList(job.documents, [](const JobDocument& document) { return JsonOf(document); }) + "}";
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
    {"GET", "/sim/jobs", &Control::ShowJobs, "the print jobs, as JSON"},
    {"POST", "/sim/scenario", &Control::SetScenario, "another scenario for the jobs to come"},
    {"POST", "/sim/quit", &Control::Quit, "ends the simulator"},
};

HttpResponse Control::Handle(const HttpRequest& request, HttpReceiver& body) {
    if (request.method == "PUT" && StartsWith(request.path, kDocuments)) {
        return PutDocument(request.path.substr(kDocuments.size()), body.ReadAll(kMaxBody));
    }
    if (request.method == "POST" && StartsWith(request.path, kJobs)) {
        return StepJob(request.path.substr(kJobs.size()), body.ReadAll(kMaxBody));
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

HttpResponse Control::ShowJobs(const std::string&) {
    std::string jobs;
    for (const Job& job : device_.jobs.All())
        jobs += (jobs.empty() ? "" : ",\n") + JsonOf(job);
    return Json("[" + jobs + "]\n");
}

HttpResponse Control::StepJob(const std::string& id, const std::string& text) {
    const auto number = ParseInteger(id);
    if (!number) throw std::invalid_argument("not a job: " + id);
    try {
        device_.jobs.Apply(*number, ParseJobStep(text));
        return PlainResponse(200);
    } catch (const IppError& error) {
        return PlainResponse(error.Status() == IppStatus::NotFound ? 404 : 400, error.what());
    }
}

HttpResponse Control::SetScenario(const std::string& text) {
    device_.jobs.SetScenario(text);
    return PlainResponse(200);
}

HttpResponse Control::Quit(const std::string&) {
    HttpResponse response = PlainResponse(200, "Bye");
    response.afterwards = quit_;
    return response;
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
