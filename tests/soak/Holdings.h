// What a process and its X server hold.
#pragma once

#include <optional>
#include <sys/types.h>

namespace support {
class XScreen;
}

namespace soak {

// One look at everything. Counts but where a unit is named. The process's own memory is 0 under the
// sanitizers, which bring heaps of their own that keep what was freed for a while.
struct Holdings {
    double seconds = 0.0;   // since the run began
    long actions = 0;       // done so far
    double memory_mb = 0.0; // of this process alone
    double mapped_mb = 0.0; // pages of files: programs and libraries, as far as they have run
    double heap_mb = 0.0;   // in use, as the allocator says
    long threads = 0;
    long descriptors = 0;
    long clients = 0;                     // descriptors of the X server: a connection each, shared memory
    long windows = 0;                     // on the whole screen
    double server_mb = 0.0;               // memory of the X server: pictures and the like
    long segments = 0;                    // of shared memory, made by this process
    std::optional<double> clock_error_ms; // how far film and wall clock went apart
};

// Looks at this process and at the server, whose process is `server`.
Holdings Look(support::XScreen& screen, pid_t server);

} // namespace soak
