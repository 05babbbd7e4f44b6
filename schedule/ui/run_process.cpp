#include "schedule/ui/run_process.h"

#include <QCoreApplication>

namespace vyn {

RunProcess::RunProcess(QObject* parent) : QObject(parent) {
    process_.setProcessChannelMode(QProcess::MergedChannels);
    connect(&process_, &QProcess::readyRead, this, &RunProcess::read_lines);
    connect(&process_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            Q_EMIT ended(
                tr("%1 cannot be started: %2").arg(batch_program(), process_.errorString()));
    });
    connect(&process_, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this](int, QProcess::ExitStatus status) {
                read_lines();
                Q_EMIT ended(status == QProcess::CrashExit ? tr("the computation was killed")
                                                           : QString());
            });
}

RunProcess::~RunProcess() {
    process_.disconnect(this);
    if (!is_running()) return;
    process_.terminate();
    constexpr int patience_ms = 5000;
    if (!process_.waitForFinished(patience_ms)) process_.kill();
}

void RunProcess::start(const QStringList& arguments) {
    unread_.clear();
    process_.start(batch_program(), arguments);
}

void RunProcess::stop() {
    process_.terminate();
}

void RunProcess::read_lines() {
    unread_ += process_.readAll();
    for (int end = unread_.indexOf('\n'); end >= 0; end = unread_.indexOf('\n')) {
        Q_EMIT told(QString::fromUtf8(unread_.left(end)));
        unread_.remove(0, end + 1);
    }
}

QString batch_program() {
    return QCoreApplication::applicationDirPath() + QStringLiteral("/vynlite-batch");
}

}  // namespace vyn
