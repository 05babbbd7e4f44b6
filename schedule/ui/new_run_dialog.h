#pragma once

#include <QDialog>

class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QTableWidget;

namespace vyn {

/// Makes a table of points from a folder of pictures: how the files of each setting are named, and
/// what comes of it.
class NewRunDialog : public QDialog {
    Q_OBJECT
  public:
    /// `base`: project that the points will stand on; may be empty.
    explicit NewRunDialog(const QString& base, QWidget* parent = nullptr);

    /// The table that was written, once accepted.
    QString table_file() const { return table_; }

    void accept() override;

  private:
    void choose_folder();
    std::vector<std::string> patterns() const;
    /// Says what the patterns find.
    void preview();

    QString base_;
    QString table_;
    QLineEdit* folder_;
    QTableWidget* patterns_;
    QLabel* found_;
    QDialogButtonBox* buttons_;
};

}  // namespace vyn
