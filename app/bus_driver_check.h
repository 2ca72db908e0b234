// bus_driver_check.h: the boxes around the bus driver at start.
#pragma once

#include "app/elevated_driver.h"
#include "driver/bus_driver_setup.h"
#include "ui/prompter.h"

/// Makes sure that the virtual bus driver is there: nothing shows when it is; otherwise the user is asked, and a Yes
/// installs it and checks again, which can take three seconds. The commands run in this process, or are handed to
/// `elevated` in one call where that is not empty. False when the program must end. GUI thread.
bool ensureBusDriver(driver::BusDriverSetup& setup, const ElevatedDriver& elevated = {},
                     Prompter& prompter = systemPrompter());
