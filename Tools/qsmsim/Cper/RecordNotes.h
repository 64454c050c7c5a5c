/// What is odd about a record, wherever it is reported.
#pragma once

#include "CperDescription.h"

/// Notes on the header and the descriptors of a record of so many bytes.
void NoteEnvelope (CperDescription &Description, UINTN Size);

/// Notes on the fields that tell the device.
void NoteLocation (CperDescription &Description);
