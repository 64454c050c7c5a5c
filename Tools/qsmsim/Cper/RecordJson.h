/// What a record says, for programs.
#pragma once

#include "JsonAppender.h"
#include "RecordDecoder.h"

/// Writes the members of a record's object: its name under "file", and the facts of its
/// description.
void WriteRecord (JsonAppender &Json, std::string_view Name, const CperDescription &Description);
