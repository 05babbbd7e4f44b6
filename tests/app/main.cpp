#include <QStandardPaths>

#include <gtest/gtest.h>

#include "app/application.h"

/// As the other widget tests, but in the program's own application object.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    vyn::Application application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("vynlite-test"));
    return RUN_ALL_TESTS();
}
