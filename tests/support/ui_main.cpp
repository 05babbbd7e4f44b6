#include <QApplication>
#include <QStandardPaths>
#include <clocale>

#include <gtest/gtest.h>

/// Runs widget tests in the user's locale (LC_ALL) with settings and state in throw-away folders.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("vynlite-test"));
    // Numbers in files go through locale-free code; Qt must not bring the locale's comma back.
    std::setlocale(LC_NUMERIC, "C");
    QLocale::setDefault(QLocale::c());
    return RUN_ALL_TESTS();
}
