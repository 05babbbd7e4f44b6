#include "app/recovery_keeper.h"

#include <QTimer>

#include "core/project_file.h"
#include "core/ui/command.h"
#include "process/point/unsaved_work.h"

namespace vyn {

namespace {

constexpr int period_ms = 3000;

}  // namespace

RecoveryKeeper::RecoveryKeeper(const std::filesystem::path& folder, QObject* parent)
    : QObject(parent), copy_(folder) {
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &RecoveryKeeper::look);
    timer->start(period_ms);
}

RecoveryKeeper::~RecoveryKeeper() {
    if (writing_.valid()) writing_.wait();
    if (!has_unsaved_work(vyn_db(), get_images())) copy_.drop();
}

void RecoveryKeeper::note_written(bool well) {
    if (!well) {
        kept_revision_ = {};  // tried again
        if (!told_) Q_EMIT failed();
    }
    told_ = !well;
}

void RecoveryKeeper::look() {
    using namespace std::chrono_literals;
    if (stopped_) return;
    if (writing_.valid()) {
        if (writing_.wait_for(0s) != std::future_status::ready) return;
        note_written(writing_.get());
    }
    const std::pair revision{vyn_db().revision(), get_images().revision()};
    if (!has_unsaved_work(vyn_db(), get_images())) {
        if (kept_) copy_.drop();
        kept_ = false;
        return;
    }
    if (kept_ && revision == kept_revision_) return;
    kept_ = true;
    kept_revision_ = revision;
    writing_ = std::async(std::launch::async, [this, project = to_xml(vyn_db()),
                                               pictures = unsaved_pictures(get_images())] {
        return run_logged([&] { copy_.keep(project, pictures); });
    });
}

void RecoveryKeeper::stop() {
    stopped_ = true;
    if (writing_.valid()) writing_.wait();
    copy_.drop();
}

}  // namespace vyn
