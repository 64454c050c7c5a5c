/// Which form an input has, by its content.
#pragma once

#include "RecordReader.h"

/// Opens bytes that are no text: records, Generic Error Status Blocks, or records among other
/// bytes.
std::unique_ptr<RecordReader> OpenBytes (ByteWindow &Window);

/// Opens bytes or a text of any form. Where nothing is recognised, the whole is searched for
/// records, of which there may be none.
std::unique_ptr<RecordReader> OpenInput (ByteWindow &Window);
