/// What a record says, for programs.
#pragma once

#include <nlohmann/json.hpp>

#include "RecordDecoder.h"

/// An object with the name of the record under "file", and the facts of its description.
nlohmann::ordered_json RecordJson (const std::string &Name, const CperDescription &Description);
