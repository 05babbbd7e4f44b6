#include "core/threads.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <vector>

#include "core/errors.h"

namespace vyn {

namespace {

constexpr const char* unit = "vyn_threads";

/// An operation's error text and the line recorded with it.
struct Operation {
    const char* text;
    int line;
};
constexpr Operation wait_one{"Error in WaitForSingleObject", 33};
constexpr Operation wait_several{"Error in WaitForMultipleObjects", 67};
constexpr Operation release_mutex{"Error in ReleaseMutex", 89};
constexpr Operation set_event{"Error in SetEvent", 123};
constexpr Operation reset_event{"Error in ResetEvent", 129};
constexpr Operation start_thread{"Error starting thread", 151};

[[noreturn]] void fail(Operation operation, int os_error) {
    throw SystemError(operation.text, os_error, "", {unit, operation.line});
}

/// Runs a body, a failure of the system turned into an error of this operation.
template <class Body>
auto guarded(Operation operation, Body body) {
    try {
        return body();
    } catch (const std::system_error& error) {
        fail(operation, error.code().value());
    }
}

/// What all waitable objects share: the lock of their states and the signal that one changed.
struct Shared {
    std::mutex mutex;
    std::condition_variable changed;
};

Shared& shared() {
    // Never destroyed: waitable objects of static storage may outlive any other static.
    static Shared& instance = *new Shared;
    return instance;
}

using Lock = std::unique_lock<std::mutex>;

/// Waits under the lock until the predicate holds; false on time-out.
template <class Predicate>
bool wait_until(Lock& lock, std::uint32_t timeout_ms, Predicate predicate) {
    if (timeout_ms != infinite_timeout)
        return shared().changed.wait_for(lock, std::chrono::milliseconds(timeout_ms), predicate);
    shared().changed.wait(lock, predicate);
    return true;
}

}  // namespace

/// A thread as the owner of mutexes: frees those that it still holds when it ends. Every member
/// function is called under the shared lock.
class MutexOwner {
  public:
    static MutexOwner& this_thread() {
        thread_local MutexOwner owner;
        return owner;
    }

    void take(Mutex& mutex) {
        if (mutex.depth_++ > 0) return;
        mutex.owner_ = this;
        held_.push_back(&mutex);
    }

    void release(Mutex& mutex) {
        if (--mutex.depth_ == 0) free(mutex);
    }

    void free(Mutex& mutex) {
        mutex.owner_ = nullptr;
        mutex.depth_ = 0;
        std::erase(held_, &mutex);
    }

  private:
    MutexOwner() = default;
    ~MutexOwner() {
        const Lock lock(shared().mutex);
        while (!held_.empty())
            free(*held_.back());
        shared().changed.notify_all();
    }

    std::vector<Mutex*> held_;
};

Mutex::~Mutex() {
    const Lock lock(shared().mutex);
    if (owner_) owner_->free(*this);
}

bool Mutex::lock(std::uint32_t timeout_ms) {
    return wait(*this, timeout_ms);
}

void Mutex::unlock() {
    guarded(release_mutex, [this] {
        const Lock lock(shared().mutex);
        if (owner_ != &MutexOwner::this_thread()) fail(release_mutex, EPERM);
        owner_->release(*this);
        shared().changed.notify_all();
    });
}

bool Mutex::ready() const {
    return !owner_ || owner_ == &MutexOwner::this_thread();
}

void Mutex::consume() {
    MutexOwner::this_thread().take(*this);
}

void Event::set() {
    guarded(set_event, [this] {
        const Lock lock(shared().mutex);
        signalled_ = true;
        shared().changed.notify_all();
    });
}

void Event::reset() {
    guarded(reset_event, [this] {
        const Lock lock(shared().mutex);
        signalled_ = false;
    });
}

bool Event::is_set() const {
    const Lock lock(shared().mutex);
    return signalled_;
}

bool Event::ready() const {
    return signalled_;
}

void Event::consume() {
    if (mode_ == Reset::automatic) signalled_ = false;
}

bool wait(Waitable& object, std::uint32_t timeout_ms) {
    return guarded(wait_one, [&] {
        Lock lock(shared().mutex);
        if (!wait_until(lock, timeout_ms, [&] { return object.ready(); })) return false;
        object.consume();
        return true;
    });
}

std::size_t wait(std::span<Waitable* const> objects, std::uint32_t timeout_ms, WaitFor condition) {
    if (objects.empty() || std::ranges::count(objects, nullptr) > 0) fail(wait_several, EINVAL);
    const auto is_ready = [](const Waitable* object) { return object->ready(); };
    return guarded(wait_several, [&]() -> std::size_t {
        Lock lock(shared().mutex);
        if (condition == WaitFor::all) {
            if (!wait_until(lock, timeout_ms,
                            [&] { return std::ranges::all_of(objects, is_ready); }))
                return 0;
            for (Waitable* object : objects)
                object->consume();
            return 1;
        }
        auto first = objects.end();
        if (!wait_until(lock, timeout_ms, [&] {
                first = std::ranges::find_if(objects, is_ready);
                return first != objects.end();
            }))
            return 0;
        (*first)->consume();
        return static_cast<std::size_t>(first - objects.begin()) + 1;
    });
}

Thread::Thread(std::function<void()> body)
    : thread_(guarded(start_thread, [&] { return std::jthread(std::move(body)); })) {}

}  // namespace vyn
