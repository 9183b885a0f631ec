#include "Faults.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/select.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

// The linker turns the library's call of f into one of __wrap_f, and __real_f into one of f.
#define WRAPPED(result, name, ...)     \
    result __real_##name(__VA_ARGS__); \
    result __wrap_##name(__VA_ARGS__)

namespace seeded {
namespace {
struct State {
    State()
    {
        const char* seedText = std::getenv(SEEDED_FAULTS_SEED);
        const char* oneInText = std::getenv(SEEDED_FAULTS_ONE_IN);
        if (seedText == nullptr || oneInText == nullptr) return;
        seed = std::strtoull(seedText, nullptr, 10);
        oneIn = std::strtoull(oneInText, nullptr, 10);
        on = oneIn > 0;
    }
    std::uint64_t seed = 0;
    std::uint64_t oneIn = 0;
    std::atomic<bool> on{false};
    std::atomic<bool> blocksAreWatched{false};
    std::atomic<std::uint64_t> calls[kKinds] = {};
    std::atomic<std::uint64_t> faults[kKinds] = {};
};

// Not destroyed: the library's threads may outlive the destructors.
State& TheState()
{
    alignas(State) static unsigned char storage[sizeof(State)];
    static State& state = *new (storage) State;
    return state;
}

// The finaliser of SplitMix64.
std::uint64_t Mix(std::uint64_t x)
{
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
    return x ^ (x >> 31);
}

// The n-th call of a kind fails or not, whatever the other threads do meanwhile. Sets errno to one
// of `errors`.
bool Fails(Kind kind, std::initializer_list<int> errors)
{
    State& state = TheState();
    if (!state.on) return false;
    const std::uint64_t number = state.calls[kind].fetch_add(1);
    const std::uint64_t random = Mix(Mix(state.seed) + kind * 0x9E3779B97F4A7C15u + number);
    if (random % state.oneIn != 0) return false;
    state.faults[kind].fetch_add(1);
    errno = errors.begin()[random / state.oneIn % errors.size()];
    return true;
}

// The blocks that were allocated under the watch, by address. A block that finds no place is
// not watched.
class Blocks {
public:
    void Add(void* block, std::size_t bytes, void* caller)
    {
        if (block == nullptr || !TheState().blocksAreWatched) return;
        pthread_mutex_lock(&mutex_);
        for (std::size_t i = 0; i < kProbes; ++i) {
            Entry& entry = At(block, i);
            if (entry.block != nullptr) continue;
            entry = {block, bytes, caller};
            break;
        }
        pthread_mutex_unlock(&mutex_);
    }
    void Remove(void* block)
    {
        if (block == nullptr) return;
        pthread_mutex_lock(&mutex_);
        for (std::size_t i = 0; i < kProbes; ++i) {
            if (At(block, i).block == block) At(block, i) = {};
        }
        pthread_mutex_unlock(&mutex_);
    }
    Leak Left()
    {
        Leak leak = {};
        pthread_mutex_lock(&mutex_);
        for (const Entry& entry : entries_) {
            if (entry.block == nullptr) continue;
            if (leak.blocks++ == 0) leak.caller = entry.caller;
            leak.bytes += entry.bytes;
        }
        pthread_mutex_unlock(&mutex_);
        return leak;
    }

private:
    static constexpr std::size_t kPlaces = 1 << 14;
    static constexpr std::size_t kProbes = 256;
    struct Entry {
        void* block;
        std::size_t bytes;
        void* caller;
    };
    Entry& At(void* block, std::size_t probe)
    {
        return entries_[(Mix(reinterpret_cast<std::uintptr_t>(block)) + probe) % kPlaces];
    }

    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    Entry entries_[kPlaces] = {};
};
constinit Blocks s_blocks;

}  // namespace
}  // namespace seeded

using seeded::Fails;

extern "C" {

WRAPPED(int, open, const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (Fails(seeded::kOpen, {EMFILE, EIO, EACCES, EINTR})) return -1;
    return __real_open(path, flags, mode);
}

WRAPPED(ssize_t, read, int file, void* buffer, size_t count)
{
    return Fails(seeded::kRead, {EIO, EINTR, EAGAIN}) ? -1 : __real_read(file, buffer, count);
}

WRAPPED(ssize_t, pread, int file, void* buffer, size_t count, off_t offset)
{
    return Fails(seeded::kRead, {EIO, EINTR}) ? -1 : __real_pread(file, buffer, count, offset);
}

WRAPPED(ssize_t, write, int file, const void* buffer, size_t count)
{
    return Fails(seeded::kWrite, {EIO, EINTR, EAGAIN, ENOSPC}) ? -1
                                                               : __real_write(file, buffer, count);
}

WRAPPED(int, poll, pollfd* ports, nfds_t count, int timeout)
{
    return Fails(seeded::kPoll, {EINTR, ENOMEM}) ? -1 : __real_poll(ports, count, timeout);
}

WRAPPED(int, ppoll, pollfd* ports, nfds_t count, const timespec* timeout, const sigset_t* mask)
{
    return Fails(seeded::kPoll, {EINTR, ENOMEM}) ? -1 : __real_ppoll(ports, count, timeout, mask);
}

WRAPPED(int, select, int count, fd_set* in, fd_set* out, fd_set* other, timeval* timeout)
{
    return Fails(seeded::kPoll, {EINTR, ENOMEM}) ? -1
                                                 : __real_select(count, in, out, other, timeout);
}

WRAPPED(int, tcsetattr, int port, int when, const termios* attributes)
{
    return Fails(seeded::kTcsetattr, {EIO, EINTR}) ? -1 : __real_tcsetattr(port, when, attributes);
}

WRAPPED(FILE*, fopen, const char* path, const char* mode)
{
    return Fails(seeded::kFopen, {EMFILE, EACCES, ENOMEM}) ? nullptr : __real_fopen(path, mode);
}

WRAPPED(DIR*, opendir, const char* path)
{
    return Fails(seeded::kOpendir, {EMFILE, ENOMEM}) ? nullptr : __real_opendir(path);
}

WRAPPED(void*, malloc, size_t bytes)
{
    if (Fails(seeded::kMalloc, {ENOMEM})) return nullptr;
    void* block = __real_malloc(bytes);
    seeded::s_blocks.Add(block, bytes, __builtin_return_address(0));
    return block;
}

WRAPPED(void*, calloc, size_t count, size_t bytes)
{
    if (Fails(seeded::kMalloc, {ENOMEM})) return nullptr;
    void* block = __real_calloc(count, bytes);
    seeded::s_blocks.Add(block, count * bytes, __builtin_return_address(0));
    return block;
}

WRAPPED(void*, realloc, void* old, size_t bytes)
{
    if (Fails(seeded::kMalloc, {ENOMEM})) return nullptr;
    seeded::s_blocks.Remove(old);
    void* block = __real_realloc(old, bytes);
    seeded::s_blocks.Add(block, bytes, __builtin_return_address(0));
    return block;
}

WRAPPED(void, free, void* block)
{
    seeded::s_blocks.Remove(block);
    __real_free(block);
}

WRAPPED(int, timer_create, clockid_t clock, sigevent* notification, timer_t* timer)
{
    return Fails(seeded::kTimerCreate, {EAGAIN, ENOMEM})
               ? -1
               : __real_timer_create(clock, notification, timer);
}

WRAPPED(int, pthread_create, pthread_t* thread, const pthread_attr_t* attributes,
        void* (*start)(void*), void* argument)
{
    return Fails(seeded::kPthreadCreate, {EAGAIN})
               ? EAGAIN
               : __real_pthread_create(thread, attributes, start, argument);
}

void SeededFaultsOff()
{
    seeded::TheState().on = false;
    seeded::TheState().blocksAreWatched = false;
}

void SeededFaultsWatchBlocks() { seeded::TheState().blocksAreWatched = true; }

seeded::Count SeededFaultsCount(seeded::Kind kind)
{
    const seeded::State& state = seeded::TheState();
    return {state.calls[kind], state.faults[kind]};
}

seeded::Leak SeededFaultsLeak() { return seeded::s_blocks.Left(); }

void SeededFaultsFree(void* block) { __wrap_free(block); }

}  // extern "C"
