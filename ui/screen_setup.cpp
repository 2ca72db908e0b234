#include "ui/screen_setup.h"

#include <QGuiApplication>

void scaleWithScreens()
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}

void paintWithoutOpenGl()
{
    constexpr const char* kChoice = "QT_XCB_GL_INTEGRATION";
    if (!qEnvironmentVariableIsSet(kChoice))
        qputenv(kChoice, "none");
}
