#include "SmmDebugServiceLib.h"

constinit const CHAR8 *const gEfiCallerBaseName = "VelmoraQsmErrorHandler";
