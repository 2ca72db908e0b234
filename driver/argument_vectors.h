// argument_vectors.h: several argument vectors of the engine in one command line.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace driver {

using ArgumentVector = std::vector<std::wstring>;
using Arguments = std::span<const std::wstring>;

/// "--each", then the vectors whole, their program names included, with "--then" between two of them. No element of a
/// vector may itself be "--then".
ArgumentVector joinArgumentVectors(std::span<const ArgumentVector> vectors);

/// The vectors that a program was started with: those after "--each", where that is the first argument (element 1),
/// else the one vector of all of its arguments. One that is empty gets the program's own name.
std::vector<ArgumentVector> splitArgumentVectors(const ArgumentVector& arguments);

} // namespace driver
