#pragma once

#include <memory>

class QWidget;

namespace vyn {

class HelpWindow;

/// The manual as the program's windows call for it: in a window of its own, or over a modal dialog,
/// which lets no other window be used.
class Manual {
  public:
    Manual();
    ~Manual();

    /// The page that tells of this widget. Raises FileError when the manual is not there.
    void show_for(QWidget& widget);
    void close();

  private:
    std::unique_ptr<HelpWindow> window_;
};

}  // namespace vyn
