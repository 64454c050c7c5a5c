/// Finds and configures all PCI functions.
#pragma once

#include "Base.h"

extern "C" {

/// Gives bridges their buses and functions their addresses, enables them and their errors, and
/// fills the rows of the hand-over record.
VOID ScanPci ();
}
