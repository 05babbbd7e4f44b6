#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <thread>

namespace vyn {

class MutexOwner;

/// What a wait on several objects waits for.
enum class WaitFor { any, all };

/// Waiting without limit.
inline constexpr std::uint32_t infinite_timeout = 0xFFFFFFFFu;

/// Something that can be waited for. One condition variable serves all waitable objects, so that a
/// wait on several of them is a plain wait for a predicate.
///
/// Operations of waitable objects raise SystemError (source unit "vyn_threads") with the system's
/// error number when the system fails them; making a mutex or an event cannot fail.
class Waitable {
  public:
    virtual ~Waitable() = default;
    Waitable(const Waitable&) = delete;
    Waitable& operator=(const Waitable&) = delete;

  protected:
    Waitable() = default;

  private:
    friend bool wait(Waitable&, std::uint32_t);
    friend std::size_t wait(std::span<Waitable* const>, std::uint32_t, WaitFor);
    virtual bool ready() const = 0;  ///< called under the shared lock
    virtual void consume() = 0;      ///< called under the shared lock when a wait is satisfied
};

/// A recursive mutex with an owner thread; waiting for it acquires it. A mutex whose owner ended
/// without unlocking (abandoned) goes to the next waiter like a free one.
class Mutex final : public Waitable {
  public:
    Mutex() = default;
    ~Mutex() override;
    void lock() { lock(infinite_timeout); }
    /// False on time-out (milliseconds).
    bool lock(std::uint32_t timeout_ms);
    /// Raises SystemError "Error in ReleaseMutex" when the caller does not own it.
    void unlock();

  private:
    friend class MutexOwner;
    bool ready() const override;
    void consume() override;
    MutexOwner* owner_ = nullptr;  ///< the thread that holds it; null when free
    int depth_ = 0;
};

/// Signalled or not; manual reset unless made automatic. Not signalled at first.
class Event final : public Waitable {
  public:
    enum class Reset { manual, automatic };
    explicit Event(Reset mode = Reset::manual) : mode_(mode) {}
    void set();
    void reset();
    bool is_set() const;

  private:
    bool ready() const override;
    void consume() override;
    Reset mode_;
    bool signalled_ = false;
};

/// True when the object was signalled (or abandoned by its owner), false on time-out.
bool wait(Waitable& object, std::uint32_t timeout_ms);

/// 0 on time-out; i + 1 when object i (from 0, the first of several) was signalled or abandoned;
/// for all, 1 once every object is. Raises SystemError "Error in WaitForMultipleObjects" for no or
/// a null object.
std::size_t wait(std::span<Waitable* const> objects, std::uint32_t timeout_ms, WaitFor condition);

/// A thread that is joined when destroyed; no exception may leave its body. Raises SystemError
/// "Error starting thread".
class Thread {
  public:
    explicit Thread(std::function<void()> body);

  private:
    std::jthread thread_;
};

}  // namespace vyn
