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
            [this](int code, QProcess::ExitStatus status) {
                read_lines();
                Q_EMIT ended(status == QProcess::CrashExit ? tr("the computation was killed")
                             : code != 0 && !points_told_  ? last_error_
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
    last_error_.clear();
    points_told_ = false;
    process_.start(batch_program(), arguments);
}

void RunProcess::stop() {
    process_.terminate();
}

void RunProcess::read_lines() {
    unread_ += process_.readAll();
    for (int end = unread_.indexOf('\n'); end >= 0; end = unread_.indexOf('\n')) {
        const QString line = QString::fromUtf8(unread_.left(end));
        unread_.remove(0, end + 1);
        const QLatin1String of_an_error("vynlite-batch: ");
        if (line.startsWith(QLatin1Char('['))) points_told_ = true;
        if (!points_told_ && line.startsWith(of_an_error))
            last_error_ = line.mid(of_an_error.size());
        Q_EMIT told(line);
    }
}

QString batch_program() {
    return QCoreApplication::applicationDirPath() + QStringLiteral("/vynlite-batch");
}

}  // namespace vyn
