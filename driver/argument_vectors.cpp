#include "driver/argument_vectors.h"

namespace driver {

namespace {

constexpr const wchar_t* kEach = L"--each";
constexpr const wchar_t* kThen = L"--then";

} // namespace

ArgumentVector joinArgumentVectors(std::span<const ArgumentVector> vectors)
{
    ArgumentVector joined;
    for (const ArgumentVector& vector : vectors) {
        joined.emplace_back(joined.empty() ? kEach : kThen);
        joined.insert(joined.end(), vector.begin(), vector.end());
    }
    return joined;
}

std::vector<ArgumentVector> splitArgumentVectors(const ArgumentVector& arguments)
{
    if (arguments.size() < 2 || arguments[1] != kEach)
        return {arguments};
    std::vector<ArgumentVector> vectors(1);
    for (std::size_t i = 2; i < arguments.size(); ++i) {
        if (arguments[i] == kThen)
            vectors.emplace_back();
        else
            vectors.back().push_back(arguments[i]);
    }
    for (ArgumentVector& vector : vectors)
        if (vector.empty())
            vector.push_back(arguments[0]);
    return vectors;
}

} // namespace driver
