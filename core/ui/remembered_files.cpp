#include "core/ui/remembered_files.h"

#include <QSettings>
#include <QStringList>
#include <utility>

namespace vyn {

namespace {

constexpr int most = 100;
const QString setting = QStringLiteral("written_files");
const QChar separator(QLatin1Char('\n'));  // in no file name that a dialog gives

/// Point, what and file in one line each, the latest first.
QStringList all() {
    return QSettings().value(setting).toStringList();
}

QString start_of(const FilePurpose& purpose) {
    return QString::fromStdString(purpose.point) + separator +
           QString::fromStdString(purpose.what) + separator;
}

}  // namespace

FilePurpose purpose_in_project(const dataSetInterface& settings, std::string what) {
    return {read(settings, keys::head_file), std::move(what)};
}

std::filesystem::path remembered_file(const FilePurpose& purpose) {
    const QString same = start_of(purpose);
    const QString point = QString::fromStdString(purpose.point) + separator;
    std::filesystem::path folder;
    const QStringList entries = all();
    for (const QString& entry : entries) {
        const std::filesystem::path file = entry.section(separator, 2).toStdString();
        if (entry.startsWith(same)) return file;
        if (folder.empty() && entry.startsWith(point)) folder = file.parent_path() / "";
    }
    return folder;
}

void remember_file(const FilePurpose& purpose, const std::filesystem::path& file) {
    const QString start = start_of(purpose);
    QStringList entries = all();
    for (int i = entries.size(); i-- > 0;)
        if (entries[i].startsWith(start)) entries.removeAt(i);
    entries.prepend(start + QString::fromStdString(file.string()));
    while (entries.size() > most)
        entries.removeLast();
    QSettings().setValue(setting, entries);
}

}  // namespace vyn
