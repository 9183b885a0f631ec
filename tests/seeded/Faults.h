// Failing calls under the library: what the library asks of the system fails about once in so many
// calls, decided by a seed. Linked into the library that is under test; its own calls alone fail.
#pragma once

#include <cstddef>
#include <cstdint>

namespace seeded {

// What can fail, in the order that scripts/seeded-faults prints. Waiting for the port (poll, ppoll,
// select) is one kind, and so are malloc, calloc, realloc and the operators new.
enum Kind {
    kOpen,
    kRead,
    kWrite,
    kPoll,
    kTcsetattr,
    kFopen,
    kOpendir,
    kMalloc,
    kTimerCreate,
    kPthreadCreate,
    kKinds
};

struct Count {
    std::uint64_t calls;  // while faults were on
    std::uint64_t faults;
};

// What the library has allocated under the watch and has not freed.
struct Leak {
    std::size_t blocks;
    std::size_t bytes;
    void* caller;  // of the first one; an address in the library under test
};

}  // namespace seeded

// Faults are on from the load of the library where these stand in the environment.
#define SEEDED_FAULTS_SEED "SEEDED_FAULTS_SEED"
#define SEEDED_FAULTS_ONE_IN "SEEDED_FAULTS_ONE_IN"

extern "C" {
void SeededFaultsOff();
seeded::Count SeededFaultsCount(seeded::Kind kind);
// From here on until the faults are off, blocks that the library allocates are watched.
void SeededFaultsWatchBlocks();
seeded::Leak SeededFaultsLeak();
// What the application has to free.
void SeededFaultsFree(void* block);
}
