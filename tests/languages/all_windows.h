// all_windows.h: every window of the programs, as a user meets it.
#pragma once

#include "tests/support/scripted_prompter.h"

#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <vector>

class QWidget;

struct WindowMaker
{
    const char* name;
    std::function<std::unique_ptr<QWidget>()> make;
};

/// Makes windows over a folder of its own with the files that they show. No window asks anything of the user by itself.
class AllWindows
{
public:
    AllWindows();

    std::vector<WindowMaker> makers();

private:
    std::unique_ptr<QWidget> mainWindow();
    std::unique_ptr<QWidget> keyFileChooser();
    std::unique_ptr<QWidget> keyDetails();
    std::unique_ptr<QWidget> confirmation(const char* operation, const char* data);
    std::unique_ptr<QWidget> packetDetails();

    QTemporaryDir m_folder;
    ScriptedPrompter m_prompter;
};
