// elevated_driver.h: plugboard-driver with an administrator's rights, for a window that runs without them.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Runs plugboard-driver with these arguments and waits for its end. Its exit code; nothing when it did not run.
using ElevatedDriver = std::function<std::optional<int>(const std::vector<std::wstring>& arguments)>;

/// The plugboard-driver beside this program; empty where this process may change the system's devices itself: it is
/// elevated, or (on Linux) the devices are a file of the user's own.
ElevatedDriver elevatedDriver();

/// Starts a program (full path) without a window through the system's prompt for an administrator's rights, and blocks
/// until it ends. Its exit code; nothing when the user refuses, the program cannot be started, or the system has no
/// such prompt. No box of ours or the system's tells of that.
std::optional<int> runElevated(const std::wstring& program, const std::vector<std::wstring>& arguments);
