// What the simulator asks of each of its servers.
#pragma once

#include <cstdint>

namespace CorvixSim {

class Server {
public:
    virtual ~Server() = default;

    /// The real port.
    virtual uint16_t Port() const = 0;

    /// Stops or resumes to serve, from any thread.
    virtual void Refuse(bool refuse) = 0;
};

}  // namespace CorvixSim
