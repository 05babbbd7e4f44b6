#include "core/ui/busy_box.h"

#include <QBasicTimer>
#include <QCloseEvent>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>
#include <QTimerEvent>

#include "core/ui/box_context.h"
#include "core/ui/icons.h"
#include "core/ui/remaining_time.h"
#include "core/ui/wording.h"

namespace vyn {

namespace {

constexpr int tick_ms = 100;
constexpr int progress_steps = 1000;
/// A job that is over sooner leaves no time to read how long it takes.
constexpr int patience_ms = 2000;

/// Whether the box stays open to tell that not all is well.
bool has_errors(TaskOutcome outcome) {
    return outcome >= TaskOutcome::done_with_errors;
}

}  // namespace

struct QBusyBox::Parts {
    Parts(Worker& used_worker, QBusyBox* box)
        : worker(used_worker),
          animation(new QLabel(box)),
          message(new QLabel(box)),
          text(new QTextBrowser(box)),
          abort_btn(new QPushButton(box)),
          progress(new QProgressBar(box)) {}

    Worker& worker;
    QLabel* animation;
    QLabel* message;
    QTextBrowser* text;
    QPushButton* abort_btn;
    QProgressBar* progress;

    std::shared_ptr<Job> job;
    std::shared_ptr<BoxContext> context;
    RemainingTime remaining;
    QElapsedTimer since;  ///< the job began
    std::string shown_status;
    std::string failure;
    int blink = 0;
    QBasicTimer timer;
    bool running = false;
    bool aborted = false;

    void show_status();
    void show_end(TaskOutcome outcome);
};

QBusyBox::QBusyBox(Worker& worker, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                          Qt::WindowCloseButtonHint),
      parts_(new Parts(worker, this)) {
    setObjectName(QStringLiteral("QBusyBox"));
    setWindowTitle(tr("Vyn, Processing"));
    parts_->animation->setObjectName(QStringLiteral("animation"));
    parts_->message->setObjectName(QStringLiteral("message"));
    parts_->message->setText(tr("<b><center>Please Wait...</center></b>"));
    parts_->text->setObjectName(QStringLiteral("text_view"));
    parts_->text->setAccessibleName(tr("Messages"));
    parts_->progress->setObjectName(QStringLiteral("progress"));
    parts_->abort_btn->setObjectName(QStringLiteral("abort_btn"));
    parts_->abort_btn->setText(tr("Abort!"));
    connect(parts_->abort_btn, &QPushButton::clicked, this, &QBusyBox::abort_btn_clicked);

    auto* grid = new QGridLayout(this);
    grid->addWidget(parts_->animation, 0, 0);
    grid->addWidget(parts_->message, 0, 1);
    grid->addWidget(parts_->text, 1, 0, 1, 2);
    grid->addWidget(parts_->progress, 2, 0, 1, 2);
    grid->addWidget(parts_->abort_btn, 3, 0, 1, 2, Qt::AlignHCenter);
    grid->setColumnStretch(1, 1);
    resize(fontMetrics().averageCharWidth() * 64, fontMetrics().lineSpacing() * 16);
}

QBusyBox::~QBusyBox() = default;

TaskOutcome QBusyBox::run(std::shared_ptr<Job> job) {
    parts_->failure.clear();
    if (job->empty()) return TaskOutcome::idle;
    parts_->abort_btn->setText(tr("Abort!"));
    parts_->abort_btn->setEnabled(true);
    // The key that started the job, pressed once more, must not end it.
    parts_->abort_btn->setAutoDefault(false);
    parts_->abort_btn->setDefault(false);
    parts_->text->setFocus();
    parts_->text->clear();
    parts_->progress->setRange(0, 0);
    parts_->progress->setVisible(true);
    parts_->shown_status.clear();
    parts_->aborted = false;
    parts_->blink = 0;
    parts_->context = std::make_shared<BoxContext>();
    parts_->worker.post(job, parts_->context);
    parts_->job = std::move(job);
    parts_->running = true;
    parts_->since.start();
    parts_->animation->setPixmap(vyn_icon(QStringLiteral("stop.png")).pixmap(48, 48));
    parts_->timer.start(tick_ms, this);
    exec();
    parts_->timer.stop();
    if (parts_->running) {
        // The program quits: its event loops end before the task does.
        parts_->context->abort();
        parts_->worker.wait_done(infinite_timeout);
        parts_->running = false;
        hide();
    }
    parts_->failure = parts_->job->failure();
    return parts_->job->outcome();
}

const std::string& QBusyBox::failure() const {
    return parts_->failure;
}

std::vector<StageTime> QBusyBox::stages() {
    return parts_->context ? parts_->context->finish_stages() : std::vector<StageTime>();
}

void QBusyBox::abort_btn_clicked() {
    if (!parts_->running) {
        QDialog::reject();
        return;
    }
    parts_->aborted = true;
    parts_->context->abort();
    parts_->abort_btn->setEnabled(false);
}

void QBusyBox::reject() {
    abort_btn_clicked();
}

void QBusyBox::closeEvent(QCloseEvent* event) {
    if (parts_->running) {
        abort_btn_clicked();
        event->ignore();
    } else {
        QDialog::closeEvent(event);
    }
}

void QBusyBox::timerEvent(QTimerEvent* event) {
    if (event->timerId() != parts_->timer.timerId() || !parts_->running) return;
    parts_->blink = 1 - parts_->blink;
    parts_->message->setText(parts_->blink == 0 ? tr("<b>Please Wait</b>")
                                                : tr("<b>Please Wait...</b>"));
    parts_->show_status();
    if (!parts_->worker.wait_done(0)) return;

    parts_->running = false;
    parts_->show_status();
    const TaskOutcome outcome = parts_->job->outcome();
    if (!has_errors(outcome)) {
        done(1);
        return;
    }
    parts_->timer.stop();
    parts_->show_end(outcome);
}

void QBusyBox::Parts::show_status() {
    const TaskContext::Snapshot now = context->snapshot();
    if (now.status != shown_status) {
        shown_status = now.status;
        text->append(QString::fromStdString(now.status).toHtmlEscaped());
        remaining.start();
    }
    if (now.fraction <= 0) {
        progress->setRange(0, 0);
        return;
    }
    progress->setRange(0, progress_steps);
    progress->setValue(static_cast<int>(now.fraction * progress_steps));
    progress->setFormat(QStringLiteral("%p %") +
                        (since.elapsed() < patience_ms ? QString() : remaining.text(now.fraction)));
}

void QBusyBox::Parts::show_end(TaskOutcome outcome) {
    if (!job->failure().empty())
        text->append(QStringLiteral("<font color=\"red\"><b>%1</b></font>")
                         .arg(worded(job->failure()).toHtmlEscaped()));
    else if (outcome == TaskOutcome::done_with_errors)
        text->append(tr("<b>The results are not what was asked for; the log says more.</b>"));
    message->setText(outcome == TaskOutcome::aborted  ? tr("<b>Aborted</b>")
                     : outcome == TaskOutcome::failed ? tr("<b>Failed</b>")
                                                      : tr("<b>Finished</b>"));
    if (outcome != TaskOutcome::aborted)
        animation->setPixmap(vyn_icon(QStringLiteral("warning.png")).pixmap(48, 48));
    progress->setVisible(false);
    abort_btn->setText(aborted ? tr("Aborted! Click to close.") : tr("There are errors!"));
    abort_btn->setEnabled(true);
    abort_btn->setDefault(true);
    abort_btn->setFocus();
}

}  // namespace vyn
