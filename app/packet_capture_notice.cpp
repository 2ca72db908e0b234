#include "app/packet_capture.h"

#include <QCoreApplication>

void openPacketCapture(QWidget& window, const QString&, Prompter& prompter)
{
    prompter.information(&window, QString(), QCoreApplication::translate("MainWindow", "for debug version"));
}
