// class_guids.h: lists of setup classes.
#pragma once

#include "driver/command.h"

#include <vector>

namespace driver {

// Each asks again with as much room as was missing, until the list fits. Failures are reported.

Outcome<std::vector<Guid>> allClasses(const CommandContext& context);
Outcome<std::vector<Guid>> classesNamed(const CommandContext& context, const std::wstring& name);

} // namespace driver
