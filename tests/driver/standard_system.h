// standard_system.h: the simulated system that several suites share, and command lines for it.
#pragma once

#include "driver/platform/device_tree_file.h"

#include <QFile>
#include <QStringList>

inline const QString kTestData = QStringLiteral(PLUGBOARD_TEST_DATA);

/// trees/standard.json; a tree without devices when it cannot be read.
inline driver::DeviceTree standardTree()
{
    QFile file(kTestData + QStringLiteral("/trees/standard.json"));
    return file.open(QIODevice::ReadOnly)
               ? driver::parseTree(file.readAll().toStdString()).value_or(driver::DeviceTree())
               : driver::DeviceTree();
}

/// The words of a command line behind a program's name; "{data}" is the folder of the tests' files.
inline std::vector<std::wstring> argumentsOf(const QString& command)
{
    std::vector<std::wstring> arguments{L"program"};
    for (const QString& word : command.split(QLatin1Char(' ')))
        arguments.push_back(QString(word).replace(QStringLiteral("{data}"), kTestData).toStdWString());
    return arguments;
}

/// Why `actual` is not what the file holds, by its first other line; empty when it is. With PLUGBOARD_ACCEPT_CASES set
/// the file is written instead.
inline QString differenceFrom(const QString& path, const QString& actual)
{
    QFile file(path);
    if (qEnvironmentVariableIsSet("PLUGBOARD_ACCEPT_CASES"))
        return file.open(QIODevice::WriteOnly) && file.write(actual.toUtf8()) >= 0 ? QString() : file.errorString();
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    const QStringList should = QString::fromUtf8(file.readAll()).remove(QLatin1Char('\r')).split(QLatin1Char('\n'));
    const QStringList is = actual.split(QLatin1Char('\n'));
    for (int i = 0; i < std::max(is.size(), should.size()); ++i)
        if (is.value(i, QStringLiteral("(no line)")) != should.value(i, QStringLiteral("(no line)")))
            return QStringLiteral("line %1 is\n%2\nnot\n%3").arg(QString::number(i + 1), is.value(i), should.value(i));
    return {};
}
