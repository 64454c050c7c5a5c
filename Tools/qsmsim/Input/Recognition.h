/// Which form an input has, by its content.
#pragma once

#include "RecordReader.h"

/// Opens bytes that are no text: records, Generic Error Status Blocks, or records among other
/// bytes.
std::unique_ptr<RecordReader> OpenBytes (ByteWindow &Window);

/// Opens a text that stands for records or Generic Error Status Blocks as a whole, or has records
/// in it. Null for another text.
std::unique_ptr<RecordReader> OpenTextWithRecord (ByteWindow &Window);

/// Opens bytes or a text of any form. Where nothing is recognised, the whole is searched for
/// records, of which there may be none.
std::unique_ptr<RecordReader> OpenInput (ByteWindow &Window);
