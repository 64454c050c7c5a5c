/// Lets the errors of PCI functions through to SMM.
#pragma once

#include "HandOver.h"

extern "C" {

/// Turns a function's error reporting on. A root port's error message becomes an SMI on the first
/// processor.
VOID EnablePciErrors (const PciFunction &Of);
}
