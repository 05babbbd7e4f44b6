#pragma once

#include <QAbstractButton>
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QTest>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "core/data_set.h"
#include "core/keys.h"

namespace vyn::test {

/// Every setting as text.
inline std::map<std::string, std::string> content_of(const dataSetInterface& settings) {
    std::map<std::string, std::string> content;
    settings.for_each(
        [&](const std::string& path, const any& value) { content[path] = format_setting(value); });
    return content;
}

template <class Widget>
Widget& child(const QWidget& parent, const char* name) {
    auto* found = parent.findChild<Widget*>(QLatin1String(name));
    if (!found) throw std::logic_error(std::string("there is no ") + name);
    return *found;
}

inline void retype(QLineEdit& edit, const char* text) {
    edit.selectAll();
    QTest::keyClicks(&edit, QLatin1String(text));
}

/// One number of a dialog over settings.
struct DialogCase {
    const char* name;
    std::function<std::unique_ptr<QDialog>(dataSetInterface&)> make;
    const char* edit;
    std::string path;
};

/// Typed and accepted, a number is stored; cancelled, nothing changes; what is no number keeps the
/// dialog open, marked, and nothing is stored.
inline void check_number_dialog(const DialogCase& c) {
    simpleNamedDataSet settings;
    {
        const auto dialog = c.make(settings);
        dialog->show();
        retype(child<QLineEdit>(*dialog, c.edit), "12,5");
        QTest::keyClick(dialog.get(), Qt::Key_Return);
        EXPECT_EQ(dialog->result(), QDialog::Accepted);
        EXPECT_EQ(settings.read(c.path, 0.0), 12.5);
    }
    const auto before = content_of(settings);
    settings.set_modified(false);
    for (const bool cancel : {true, false}) {
        const auto dialog = c.make(settings);
        dialog->show();
        auto& edit = child<QLineEdit>(*dialog, c.edit);
        EXPECT_EQ(edit.text(), QStringLiteral("12.5"));
        retype(edit, cancel ? "77" : "7x");
        QTest::keyClick(dialog.get(), cancel ? Qt::Key_Escape : Qt::Key_Return);
        EXPECT_EQ(dialog->isVisible(), !cancel);
        EXPECT_EQ(edit.toolTip().startsWith(QLatin1String("Please enter")), !cancel);
        EXPECT_EQ(content_of(settings), before);
    }
    EXPECT_FALSE(settings.modified());
}

/// No two letters with Alt in one window do the same.
inline void check_mnemonics(const QWidget& window) {
    std::set<QChar> letters;
    const auto take = [&](const QString& text) {
        const int at = text.indexOf(QLatin1Char('&'));
        if (at < 0 || at + 1 >= text.size()) return;
        const QChar letter = text[at + 1].toLower();
        EXPECT_TRUE(letters.insert(letter).second) << '"' << text.toStdString() << '"';
    };
    if (const auto* bar = window.findChild<QMenuBar*>())
        for (const QAction* menu : bar->actions())
            take(menu->text());
    const auto shows = [&](const QWidget* widget) {
        return widget->window() == &window && widget->isVisibleTo(&window);
    };
    for (const QLabel* label : window.findChildren<QLabel*>())
        if (label->buddy() && shows(label)) take(label->text());
    for (const QAbstractButton* button : window.findChildren<QAbstractButton*>())
        if (shows(button)) take(button->text());
    for (const QGroupBox* group : window.findChildren<QGroupBox*>())
        if (shows(group)) take(group->title());
}

}  // namespace vyn::test
