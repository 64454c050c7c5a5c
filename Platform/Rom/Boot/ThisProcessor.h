/// Where a processor stands, by CPUID.
#pragma once

#include "HandOver.h"

extern "C" {

/// Of the executing processor.
ProcessorPlace PlaceOfThisProcessor ();
}
