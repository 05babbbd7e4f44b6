#include "app/recent_files.h"

#include <QDir>
#include <QSettings>

namespace vyn {

namespace {

constexpr int most_files = 9;

QString setting() {
    return QStringLiteral("recent_projects");
}

}  // namespace

RecentFilesMenu::RecentFilesMenu(QWidget* parent) : QMenu(parent) {
    setTitle(tr("&Recent files"));
    setToolTipsVisible(true);
    connect(this, &QMenu::aboutToShow, this, &RecentFilesMenu::fill);
    fill();
}

QStringList RecentFilesMenu::files() const {
    return QSettings().value(setting()).toStringList();
}

void RecentFilesMenu::add(const QString& file) {
    QStringList known = files();
    known.removeAll(file);
    known.prepend(file);
    QSettings().setValue(setting(), QStringList(known.mid(0, most_files)));
    fill();
}

void RecentFilesMenu::fill() {
    clear();
    int number = 0;
    for (const QString& file : files()) {
        const QFileInfo info(file);
        QAction* action = addAction(QStringLiteral("&%1 %2").arg(
            QString::number(++number),
            info.fileName().replace(QLatin1Char('&'), QLatin1String("&&"))));
        action->setToolTip(QDir::toNativeSeparators(file));
        action->setEnabled(info.exists());
        connect(action, &QAction::triggered, this, [this, file] { Q_EMIT chosen(file); });
    }
    menuAction()->setEnabled(number > 0);
}

}  // namespace vyn
