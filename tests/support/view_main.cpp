#include "look/Theme.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen"); // ctest lists the cases without the tests' environment
    QApplication application(argc, argv);
    const Theme theme(LightSkin());
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
