/// The configuration tables of the system and of SMM, which lead to the HOB list.
#pragma once

#include "Base.h"

extern "C" {

/// Puts the HOB list into both tables. To be called once all three are there. A test that wants a
/// platform without one sets NumberOfTableEntries of the tables to 0.
VOID ConfigurationTablesReset ();
}
