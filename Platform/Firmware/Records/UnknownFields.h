/// What stands in the fields of a record that nobody may read.
#pragma once

/// Fills them, byte by byte. As a pointer it points nowhere.
inline constexpr int UnknownFieldPattern = 0xA5;
