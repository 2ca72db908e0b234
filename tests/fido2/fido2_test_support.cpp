#include "tests/fido2/fido2_test_support.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>

KeyFolder::KeyFolder()
{
    QDir(m_folder.path()).mkdir(QStringLiteral("fido2"));
}

Fido2Environment KeyFolder::environment() const
{
    return {m_folder.path(), [] { return QDateTime(QDate(2025, 1, 5), QTime(14, 30)); }};
}

void KeyFolder::write(const QString& path, const QByteArray& bytes) const
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QJsonObject json(const char* text)
{
    QJsonParseError error;
    const auto document = QJsonDocument::fromJson(QByteArray(text).replace('\'', '"'), &error);
    Q_ASSERT_X(document.isObject(), text, qPrintable(error.errorString()));
    return document.object();
}

QByteArray compact(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).replace('"', '\'');
}

void click(const QWidget& window, const char* name)
{
    part<QPushButton>(window, name)->click();
}
