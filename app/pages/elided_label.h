#pragma once

#include <QFrame>
#include <QString>

namespace vyn {

/// One line of text that is shortened where it does not fit, with a note in paler letters behind
/// it.
class ElidedLabel : public QFrame {
    Q_OBJECT
  public:
    explicit ElidedLabel(Qt::TextElideMode mode, QWidget* parent = nullptr);

    void set_text(const QString& text, const QString& note = {});
    const QString& text() const { return text_; }
    const QString& note() const { return note_; }
    /// Written in the colour of warnings.
    void set_alarm(bool alarm);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    const Qt::TextElideMode mode_;
    QString text_;
    QString note_;
    bool alarm_ = false;
};

}  // namespace vyn
