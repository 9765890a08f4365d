// What a program is to its system: who asks it to end.
#pragma once

#include "base/stopper.h"

namespace CorvixSim {

/// Stops `stopper`, which must outlive the process's threads, when the user or the system asks the process to end
/// (Ctrl-C, a closed console, SIGTERM). To be called before any thread is started.
void StopWhenAsked(Stopper& stopper);

/// Stops `stopper` when standard input ends. The thread that reads it ends with the process.
void StopAtEndOfInput(Stopper& stopper);

}  // namespace CorvixSim
