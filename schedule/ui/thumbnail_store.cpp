#include "schedule/ui/thumbnail_store.h"

#include <QImage>

namespace vyn {

ThumbnailStore::ThumbnailStore(QObject* parent) : QObject(parent) {
    pool_.setMaxThreadCount(1);
}

ThumbnailStore::~ThumbnailStore() {
    pool_.clear();
    pool_.waitForDone();
}

QPixmap ThumbnailStore::picture(const std::filesystem::path& folder, const std::string& attempt) {
    const QString key = QString::fromStdString(folder.string() + '\n' + attempt);
    const auto found = pictures_.constFind(key);
    if (found != pictures_.cend()) return *found;
    pictures_.insert(key, {});
    const QString file = QString::fromStdString((folder / "thumbnail.png").string());
    pool_.start([this, key, file] {
        constexpr int side = 80;  // twice what a row shows, for screens with small pixels
        const QImage whole(file);
        if (whole.isNull()) return;
        const QImage small =
            whole.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        QMetaObject::invokeMethod(
            this,
            [this, key, small] {
                pictures_[key] = QPixmap::fromImage(small);
                Q_EMIT read();
            },
            Qt::QueuedConnection);
    });
    return {};
}

void ThumbnailStore::clear() {
    pictures_.clear();
}

}  // namespace vyn
