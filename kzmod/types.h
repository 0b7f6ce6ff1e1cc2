// The Python types of the kz module. Start-up readies kz.Service and kz.Monitor and adds them to the module.
#pragma once

#include "module/python.h"

extern PyTypeObject kzServiceType;
extern PyTypeObject kzMonitorType;
