// fido2_test_support.h: a folder and a clock for the dialogs of security keys, and hands on their widgets.
#pragma once

#include "fido2/file/fido2_environment.h"

#include <QByteArray>
#include <QJsonObject>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

/// A temporary application folder with its "fido2" folder, and 5 January 2025, 14:30:00.
class KeyFolder
{
public:
    KeyFolder();

    Fido2Environment environment() const;
    QString path(const QString& name) const { return m_folder.path() + QLatin1Char('/') + name; }
    QString keyPath(const QString& name) const { return path(QStringLiteral("fido2/") + name); }
    void write(const QString& path, const QByteArray& bytes) const;

private:
    QTemporaryDir m_folder;
};

QByteArray fileBytes(const QString& path);

/// The object in JSON text that is written with ' for ".
QJsonObject json(const char* text);

/// Compact text of an object, its members sorted.
QByteArray compact(const QJsonObject& object);

template<typename Widget = QLineEdit>
Widget* part(const QWidget& window, const char* name)
{
    auto* widget = window.findChild<Widget*>(QLatin1String(name));
    Q_ASSERT_X(widget, "part", name);
    return widget;
}

void click(const QWidget& window, const char* name);

/// Runs `react` on the next modal window and closes it when that left it open, as a check that fails does.
template<typename React>
void whenModal(React react)
{
    QTimer::singleShot(0, qApp, [react] {
        const QPointer<QWidget> window = QApplication::activeModalWidget();
        QVERIFY(window);
        react(*window);
        if (window)
            window->close();
    });
}
