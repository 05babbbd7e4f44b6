#include "schedule/ui/run_watch.h"

#include "core/ui/command.h"

namespace vyn {

RunWatch::RunWatch(QObject* parent) : QObject(parent) {
    pool_.setMaxThreadCount(1);
}

RunWatch::~RunWatch() {
    pool_.clear();
    pool_.waitForDone();
}

void RunWatch::read(const std::filesystem::path& file, const ScheduleOptions& options,
                    const FigureLimits& limits) {
    start([file, options, limits] {
        auto run = std::make_shared<RunView>();
        run->schedule = read_schedule(file, options);
        run->missing = missing_inputs(run->schedule);
        run->limits = limits;
        run->statuses = survey(run->schedule, limits);
        return run;
    });
}

void RunWatch::look(const std::shared_ptr<const RunView>& run) {
    if (busy_) return;
    start([run] {
        auto looked = std::make_shared<RunView>(*run);
        looked->statuses = survey(looked->schedule, looked->limits);
        return looked;
    });
}

void RunWatch::start(std::function<std::shared_ptr<const RunView>()> work) {
    busy_ = true;
    const int number = ++newest_;
    pool_.start([this, number, work = std::move(work)] {
        std::shared_ptr<const RunView> run;
        QString failure;
        try {
            run = work();
        } catch (...) {
            failure = text_of_exception();
        }
        // Dropped where this object is gone by then.
        QMetaObject::invokeMethod(
            this,
            [this, number, run, failure] {
                if (number != newest_) return;
                busy_ = false;
                Q_EMIT finished(run, failure);
            },
            Qt::QueuedConnection);
    });
}

}  // namespace vyn
