/// Lets the errors of PCI functions through to SMM.
#pragma once

#include "HandOver.h"

extern "C" {

/// Turns a function's error reporting on.
VOID EnablePciErrors (const PciFunction &Of);

/// Makes the error message of each root port an SMI on the first processor. To be called once SMM
/// is set up; errors of before are found by the first SMI that serves them.
VOID RoutePciErrors ();
}
