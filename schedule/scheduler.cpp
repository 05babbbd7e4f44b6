#include "schedule/scheduler.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <thread>

#include <poll.h>

#include "api/parallel.h"
#include "core/errors.h"
#include "core/free_memory.h"
#include "core/log.h"
#include "schedule/point_process.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

/// Stops a computation when the observer says so.
class ObservedContext final : public TaskContext {
  public:
    explicit ObservedContext(const ScheduleObserver& observer) : observer_(observer) {}
    bool aborted() const override { return TaskContext::aborted() || observer_.aborted(); }

  private:
    const ScheduleObserver& observer_;
};

/// Points that share a part stand together, else in the order of the table.
std::vector<const SchedulePoint*> in_order(const std::vector<const SchedulePoint*>& points) {
    std::map<std::string, std::vector<const SchedulePoint*>> groups;
    std::vector<std::string> keys;
    for (const SchedulePoint* point : points) {
        if (point->skip) continue;
        const std::string key = share_key(*point);
        auto& group = groups[key];
        if (group.empty()) keys.push_back(key);
        group.push_back(point);
    }
    std::vector<const SchedulePoint*> ordered;
    for (const std::string& key : keys)
        ordered.insert(ordered.end(), groups[key].begin(), groups[key].end());
    return ordered;
}

/// The shard's points: a run of neighbours, which share most.
std::vector<const SchedulePoint*> part_of(const std::vector<const SchedulePoint*>& points,
                                          Shard shard) {
    const std::size_t count = points.size();
    const auto border = [&](int i) {
        return count * static_cast<std::size_t>(i) / static_cast<std::size_t>(shard.count);
    };
    const auto at = [&](int i) { return points.begin() + static_cast<std::ptrdiff_t>(border(i)); };
    return {at(shard.number - 1), at(shard.number)};
}

class Scheduler {
  public:
    Scheduler(const Schedule& schedule, const std::vector<const SchedulePoint*>& points,
              const ComputeRequest& request, ScheduleObserver& observer)
        : schedule_(schedule), request_(request), observer_(observer) {
        queue_ = part_of(in_order(points), request.shard);
        const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
        jobs_ = request.jobs > 0 ? request.jobs : cores;
        jobs_ = std::min(jobs_, std::max(1, static_cast<int>(queue_.size())));
        threads_ = request.threads > 0 ? request.threads : std::max(1, cores / jobs_);
        for (const SchedulePoint* point : queue_)
            attempts_.push_back(attempt_of(*point));
    }

    void run() {
        make_folder(schedule_.results);
        while (next_ < queue_.size() || !running_.empty()) {
            if (observer_.aborted()) stop();
            while (next_ < queue_.size() && may_start())
                start(*queue_[next_], attempts_[next_]), ++next_;
            if (!running_.empty()) wait();
        }
        if (!problem_.empty()) throw FileError("Error writing file", problem_);
    }

  private:
    std::string attempt_of(const SchedulePoint& point) const {
        const auto state = read_state(schedule_.folder_of(point));
        return state ? state->attempt : std::string();
    }

    static void make_folder(const fs::path& folder) {
        std::error_code failed;
        fs::create_directories(folder, failed);
        if (failed)
            throw FileError("Can't open file for writing!",
                            "results cannot be put into " + folder.string() + ": " +
                                failed.message() + " (--results names another folder)");
    }

    bool may_start() {
        const auto running = static_cast<int>(running_.size());
        if (running >= jobs_) return false;
        return running == 0 || free_memory() > peak_memory_;
    }

    /// Begins no further point and asks the running ones to stop.
    void stop() {
        next_ = queue_.size();
        if (stopping_) return;
        stopping_ = true;
        for (const auto& process : running_)
            process->ask_to_stop();
    }

    bool disk_is_full() {
        constexpr std::uintmax_t least = std::uintmax_t{32} << 20;
        std::error_code failed;
        const fs::space_info space = fs::space(schedule_.results, failed);
        if (failed || space.available > least) return false;
        problem_ = schedule_.results.string() +
                   ": the disk is full; no further point was begun (--resume goes on when there "
                   "is room)";
        return true;
    }

    void start(const SchedulePoint& point, const std::string& attempt_before) {
        if (disk_is_full()) {
            next_ = queue_.size();  // those that run may still find room
            return;
        }
        const fs::path folder = schedule_.folder_of(point);
        make_folder(folder);
        PointLock lock(folder);
        if (lock.state() == PointLock::State::impossible) {
            problem_ = "results cannot be put into " + folder.string() + ": " + lock.holder() +
                       " (--results names another folder)";
            return stop();
        }
        if (lock.state() == PointLock::State::taken)
            return observer_.finished(point, Taken::elsewhere, nullptr, lock.holder());
        const std::optional<PointState> state = read_state(folder);
        if (state && state->attempt != attempt_before)
            return observer_.finished(point, Taken::elsewhere, &*state, state->host);
        if (request_.resume && state && state->outcome == PointState::Outcome::done &&
            change_since(*state, point).empty())
            return observer_.finished(point, Taken::kept, &*state, {});
        try {
            prepare(point);
        } catch (const Aborted&) {
            return;
        }
        running_.push_back(std::make_unique<PointProcess>(
            schedule_, point, std::move(lock), [&] { return compute_in_process(point); }));
        observer_.started(point);
    }

    /// What the point shares with those before it is kept, or computed now. On one thread: a
    /// process with others must not be copied.
    void prepare(const SchedulePoint& point) {
        const std::string key = share_key(point);
        if (key == shared_key_) return;
        const ThreadLimit one(1);
        ObservedContext context(observer_);
        shared_ = make_shared_part(schedule_, point, context);
        shared_key_ = key;
        if (!end_idle_threads())
            get_log().write(LogLevel::information, "Threads are left that a copy will not have");
    }

    PointState compute_in_process(const SchedulePoint& point) {
        observer_.in_process_of_point();
        const ThreadLimit threads(threads_);
        ObservedContext context(observer_);
        return compute_point(schedule_, point, shared_, request_.unaligned, context);
    }

    /// Until one of the processes tells something, or a moment.
    void wait() {
        constexpr int moment_ms = 200;
        std::vector<pollfd> descriptors;
        for (const auto& process : running_)
            descriptors.push_back({process->descriptor(), POLLIN, 0});
        poll(descriptors.data(), descriptors.size(), moment_ms);
        for (std::size_t i = descriptors.size(); i-- > 0;) {
            if (descriptors[i].revents == 0) continue;
            const std::optional<PointState> state = running_[i]->take();
            if (!state) continue;
            const auto memory = state->figures.find("memory_mb");
            if (memory != state->figures.end())
                peak_memory_ =
                    std::max(peak_memory_, static_cast<std::uint64_t>(memory->second) << 20U);
            const SchedulePoint& point = running_[i]->point();
            running_.erase(running_.begin() + static_cast<std::ptrdiff_t>(i));
            observer_.finished(point, Taken::computed, &*state, {});
        }
        touch_locks();
    }

    void touch_locks() {
        constexpr std::chrono::seconds pause(20);
        const auto now = std::chrono::steady_clock::now();
        if (now - touched_ < pause) return;
        touched_ = now;
        for (const auto& process : running_)
            process->touch();
    }

    const Schedule& schedule_;
    const ComputeRequest& request_;
    ScheduleObserver& observer_;
    std::vector<const SchedulePoint*> queue_;
    std::vector<std::string> attempts_;  ///< the last ones when this run began
    std::size_t next_ = 0;
    int jobs_ = 1;
    int threads_ = 1;
    std::vector<std::unique_ptr<PointProcess>> running_;
    bool stopping_ = false;
    std::string problem_;
    std::string shared_key_;
    SharedPart shared_;
    std::uint64_t peak_memory_ = 0;
    std::chrono::steady_clock::time_point touched_ = std::chrono::steady_clock::now();
};

}  // namespace

void compute_points(const Schedule& schedule, const std::vector<const SchedulePoint*>& points,
                    const ComputeRequest& request, ScheduleObserver& observer) {
    Scheduler(schedule, points, request, observer).run();
}

}  // namespace vyn
