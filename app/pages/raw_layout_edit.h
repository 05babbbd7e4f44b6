#pragma once

#include <QWidget>
#include <string>
#include <vector>

class QGridLayout;

namespace vyn {

/// The layout of pixels without a header as fields; a text of words NAME=VALUE to the settings.
class RawLayoutEdit : public QWidget {
    Q_OBJECT
  public:
    explicit RawLayoutEdit(QWidget* parent = nullptr);

    /// Words that no field is for are kept.
    void show_text(const std::string& text);
    /// Empty while there is neither width nor height; fields that hold what is meant without them
    /// are left out.
    std::string text() const;

  private:
    struct Field {
        const char* name;
        const char* usual;  ///< what is meant without the word
        QWidget* edit;
    };
    void add_number(const char* name, const char* usual, const QString& label);
    void add_choice(const char* name, const QString& label,
                    const std::vector<std::pair<QString, const char*>>& offered);
    void add(const char* name, const char* usual, const QString& label, QWidget* edit);

    QGridLayout* grid_;
    std::vector<Field> fields_;
    std::string others_;
};

}  // namespace vyn
