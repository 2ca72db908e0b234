// driver_program.h: what the console program does on every system once it has its arguments and its folder.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Runs one command of the driver engine and returns its result; after "--each" (driver/argument_vectors.h) several in
/// turn, whatever becomes of each, and the highest of their results. "--help" or "-h" alone is the command "help", and
/// "--version" alone prints the version. The options of
/// driver/options.h may stand before everything else. `treeFile`, the value of the environment variable
/// PLUGBOARD_DEVICE_TREE, names the file of a simulated system to work on; empty means this system, and so does every
/// value in a release, which an environment could otherwise make say of a system what is not so.
int runDriverProgram(const std::vector<std::wstring>& arguments, const std::filesystem::path& programFolder,
                     const std::filesystem::path& treeFile);
