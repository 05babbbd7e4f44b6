#pragma once

#include <QSize>
#include <QString>
#include <QWidget>
#include <functional>

namespace vyn::screenshots {

/// Runs the event loop for a while.
void wait(int ms);
/// Runs it until something is so; raises AlgoError naming what did not come after 60 s.
void wait_for(const std::function<bool()>& condition, const char* what);

/// Writes what windows look like as PNG files of one folder, and their names to standard output.
class Shots {
  public:
    /// Makes the folder. `only`: when not empty, the only pictures that are written.
    Shots(QString folder, QStringList only);

    /// Shows a window (resized when a size is given), lets it settle and writes NAME.png.
    void take(QWidget& window, const QString& name, QSize size = {});
    using Handling = std::function<void(QWidget&)>;
    /// The same for the dialog of this class that `open` runs modally, maybe after others that
    /// close by themselves. `prepare` is called before the picture is taken, `finish` afterwards
    /// until the dialog is gone. Raises AlgoError when there was no such dialog.
    void take_modal(
        const QString& name, const char* dialog_class, const std::function<void()>& open,
        const Handling& prepare = [](QWidget&) {},
        const Handling& finish = [](QWidget& dialog) { dialog.close(); });

  private:
    void write(QWidget& window, const QString& name);

    QString folder_;
    QStringList only_;
};

}  // namespace vyn::screenshots
