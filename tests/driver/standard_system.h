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
