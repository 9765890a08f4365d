// Runs corvixsim.exe for a test.
#pragma once

#include <windows.h>
#include <winsock2.h>

#include <cstdint>
#include <string>
#include <vector>

/// A simulator of the test's own: on a loopback address that was free, on free ports, ended with the object.
class SimProcess {
public:
    /// Starts it with these arguments besides its own and waits until it is ready.
    /// Throws std::runtime_error when it does not come up.
    explicit SimProcess(const std::vector<std::wstring>& arguments = {});
    ~SimProcess();
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    const std::string& Address() const { return address_; }

    /// "80=49152,...", as the tools take it.
    const std::string& PortMap() const { return portMap_; }

    /// The real port for a name of the port map, such as "80" or "161/udp"; throws when it is not there.
    uint16_t Port(const std::string& name) const;
    uint16_t ControlPort() const { return controlPort_; }

    /// Sends a request to the control port and returns the answer's body; throws unless it succeeds.
    std::string Control(const std::string& method, const std::string& path,
                        const std::string& body = {}) const;

    /// Lets the simulator's input end.
    void CloseInput();

    /// Waits for its end and returns its exit code; throws when it goes on for a minute.
    DWORD WaitForExit();

private:
    void ReadReadyLine();

    HANDLE process_ = nullptr;
    HANDLE input_ = nullptr;
    HANDLE output_ = nullptr;
    std::string address_;
    std::string portMap_;
    uint16_t controlPort_ = 0;
};

/// Runs corvixsim.exe to its end and returns its exit code and what it wrote to both outputs.
struct SimRun {
    DWORD exitCode;
    std::string output;
};
SimRun RunSim(const std::vector<std::wstring>& arguments);
