#pragma once

#include <QHash>
#include <QObject>
#include <QPixmap>
#include <QThreadPool>
#include <filesystem>

namespace vyn {

/// The small pictures of a run's points, read in the background when they are first asked for.
class ThumbnailStore : public QObject {
    Q_OBJECT
  public:
    explicit ThumbnailStore(QObject* parent = nullptr);
    ~ThumbnailStore() override;

    /// The picture of a point's folder as its computation `attempt` left it; a null one until it is
    /// read (`read` follows), or when there is none.
    QPixmap picture(const std::filesystem::path& folder, const std::string& attempt);
    void clear();

  Q_SIGNALS:
    void read();

  private:
    QHash<QString, QPixmap> pictures_;
    QThreadPool pool_;
};

}  // namespace vyn
