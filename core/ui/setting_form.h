#pragma once

#include <QObject>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/data_set.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QSpinBox;
class QString;
class QWidget;

namespace vyn {

class NumberEdit;

/// The edits of a dialog, one per setting of the key table. Kind, range and tool tip of an edit
/// come from the table; its object name is the setting's name unless given. The edits belong to the
/// layout that they are put into; the form lives as long as they do.
class SettingForm : public QObject {
    Q_OBJECT
  public:
    /// An item of a combo box: what is shown and the setting's value as text.
    struct Choice {
        QString shown;
        std::string value;
    };

    NumberEdit* number(std::string_view path, const char* name = nullptr);
    /// A whole number with arrows, for a setting whose range the table gives.
    QSpinBox* spin(std::string_view path, const char* name = nullptr);
    QLineEdit* text(std::string_view path, const char* name = nullptr);
    /// A text that names a file, with a button in it that asks for one.
    QLineEdit* file(std::string_view path, const QString& caption, const QString& filter);
    QCheckBox* flag(std::string_view path, const QString& label);
    /// A group that is switched on and off by its title's box.
    QGroupBox* group(std::string_view path, const QString& title);
    /// A value that is not offered is kept: it has an item of its own while it is held, with the
    /// name that `known` has for it.
    QComboBox* choice(std::string_view path, const std::vector<Choice>& offered,
                      const std::vector<Choice>& known = {}, const char* name = nullptr);

    /// Fills every edit; settings that do not exist are made with their defaults.
    void show(dataSetInterface& data);
    /// Marks what cannot be stored and takes the keyboard to the first such edit. Edits that are
    /// switched off do not count.
    bool check();
    /// Stores every edit that holds an allowed value.
    void write(dataSetInterface& data) const;

    std::vector<std::string> paths() const;

  Q_SIGNALS:
    /// An edit changed, by the user or by `show`.
    void changed();

  private:
    struct Row {
        std::string path;
        QWidget* edit;
        std::function<void(const std::string&)> show;
        /// What the edit holds; nothing when that cannot be stored.
        std::function<std::optional<std::string>()> value;
    };
    void add(Row row, const char* name);

    std::vector<Row> rows_;
};

}  // namespace vyn
