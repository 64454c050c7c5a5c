#include "AutoGen.h"

constinit const UINT32 _gUefiDriverRevision = 0;
constinit const UINT8 _gDriverUnloadImageCount = 0;
