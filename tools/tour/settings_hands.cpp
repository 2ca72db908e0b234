#include "tools/tour/settings_hands.h"

#include "tools/tour/tour.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

QString Clips::path(const char* name) const
{
    const QString path = m_folder.filePath(QString::fromLatin1(name));
    if (!QFile::exists(path))
        Tour::require(QFile::copy(QStringLiteral(":/clips/") + QString::fromLatin1(name), path), path);
    return path;
}

LoopbackServer Clips::serve(const char* type, const char* name) const
{
    QFile file(path(name));
    Tour::require(file.open(QIODevice::ReadOnly), file.fileName());
    return LoopbackServer(QByteArray("HTTP/1.1 200 OK\r\nContent-Type: ") + type + "\r\nConnection: close\r\n\r\n" +
                              file.readAll(),
                          LoopbackServer::Ending::Close);
}

QWidget* findPart(QWidget& dialog, const char* name)
{
    auto* found = dialog.findChild<QWidget*>(QString::fromLatin1(name));
    Tour::require(found, QStringLiteral("no widget ") + QString::fromLatin1(name));
    return found;
}

void click(QWidget& dialog, const char* name)
{
    QTest::mouseClick(findPart(dialog, name), Qt::LeftButton, {}, QPoint(8, 8));
}

void type(QWidget& dialog, const char* name, const QString& text)
{
    auto* edit = find<QLineEdit>(dialog, name);
    edit->selectAll();
    if (text.isEmpty())
        QTest::keyClick(edit, Qt::Key_Delete);
    else
        QTest::keyClicks(edit, text);
    Tour::require(edit->text() == text, QStringLiteral("the field holds ") + edit->text());
}

void pressOk(QWidget& dialog)
{
    auto* buttons = dialog.findChild<QDialogButtonBox*>();
    Tour::require(buttons, QStringLiteral("no buttons"));
    QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
}
