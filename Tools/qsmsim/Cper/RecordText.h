/// What a record says, for people.
#pragma once

#include "Console.h"
#include "RecordDecoder.h"

/// Prints a record under its name.
void PrintRecord (Console &Console, const std::string &Name, const CperDescription &Description);
