#include "core/threads.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <memory>

#include <gtest/gtest.h>

#include "core/errors.h"
#include "tests/support/error_of.h"

namespace vyn {
namespace {

using test::error_of;
using Clock = std::chrono::steady_clock;

TEST(Wait, TimesOutWithFalseOrZeroAndNotEarly) {
    Event event;
    Event other;
    const std::array<Waitable*, 2> both{&event, &other};
    const auto start = Clock::now();
    EXPECT_FALSE(wait(event, 20));
    EXPECT_EQ(wait(both, 20, WaitFor::any), 0u);
    EXPECT_EQ(wait(both, 20, WaitFor::all), 0u);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));
    EXPECT_FALSE(wait(event, 0));
}

TEST(Wait, GivesTheNumberOfTheFirstEventThatIsSetAndNotTaken) {
    Event first;
    Event second(Event::Reset::automatic);
    const std::array<Waitable*, 2> both{&first, &second};
    second.set();
    EXPECT_EQ(wait(both, 0, WaitFor::all), 0u);
    EXPECT_TRUE(second.is_set()) << "a wait for all takes nothing until all are there";
    EXPECT_EQ(wait(both, 0, WaitFor::any), 2u);
    EXPECT_EQ(wait(both, 0, WaitFor::any), 0u);
    first.set();
    second.set();
    EXPECT_EQ(wait(both, 0, WaitFor::any), 1u);
    EXPECT_EQ(wait(both, 0, WaitFor::all), 1u);
    EXPECT_FALSE(second.is_set());
    EXPECT_TRUE(wait(first, 0)) << "a manual event stays set";
    first.reset();
    EXPECT_FALSE(wait(first, 0));
}

TEST(Wait, NoOrANullObjectIsASystemError) {
    const std::array<Waitable*, 1> null{nullptr};
    for (const std::span<Waitable* const> objects : {std::span<Waitable* const>(), {null}}) {
        const auto error = error_of<SystemError>([&] { wait(objects, 0, WaitFor::any); });
        EXPECT_STREQ(error.text, "Error in WaitForMultipleObjects");
        EXPECT_STREQ(error.file, "vyn_threads");
        EXPECT_EQ(error.line, 67);
        EXPECT_EQ(error.code, EINVAL);
    }
}

TEST(MutexTest, IsHeldByOneThreadUntilAsManyUnlocksAsLocks) {
    Mutex mutex;
    const auto other_gets_it = [&] {
        bool taken = false;
        const auto try_it = [&] {
            taken = mutex.lock(0);
            if (!taken)
                EXPECT_EQ(error_of<SystemError>([&] { mutex.unlock(); }).line, 89);
            else
                mutex.unlock();
        };
        { const Thread thread(try_it); }
        return taken;
    };
    EXPECT_TRUE(other_gets_it());
    mutex.lock();
    EXPECT_TRUE(wait(mutex, 0)) << "its owner may lock it again";
    mutex.unlock();
    EXPECT_FALSE(other_gets_it());
    mutex.unlock();
    EXPECT_TRUE(other_gets_it());
    EXPECT_THROW(mutex.unlock(), SystemError);
}

TEST(MutexTest, AnAbandonedMutexCountsAsAcquired) {
    Mutex mutex;
    Event waiting;
    {
        const Thread owner([&] {
            mutex.lock();
            mutex.lock();
            waiting.set();
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        });
        ASSERT_TRUE(wait(waiting, 5000));
        const std::array<Waitable*, 1> objects{&mutex};
        EXPECT_EQ(wait(objects, 5000, WaitFor::any), 1u);
    }
    mutex.unlock();
    EXPECT_THROW(mutex.unlock(), SystemError) << "the waiter owns it once";
}

TEST(MutexTest, MayEndBeforeTheThreadThatHoldsIt) {
    auto mutex = std::make_unique<Mutex>();
    Event locked;
    Event go_on;
    const Thread owner([&] {
        mutex->lock();
        locked.set();
        wait(go_on, infinite_timeout);
    });
    ASSERT_TRUE(wait(locked, 5000));
    mutex.reset();
    go_on.set();
}

}  // namespace
}  // namespace vyn
