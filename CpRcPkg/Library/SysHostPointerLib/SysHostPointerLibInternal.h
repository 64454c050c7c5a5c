/// What the sources of this module share.
#pragma once

#include "SmmDebugServiceLib.h"
#include "SysHostPointerLib.h"

/// The source file that all assertions of this module report.
inline constexpr CHAR8 SysHostPointerSourceFile[] =
    "CpRcPkg/Library/SysHostPointerLib/SmmSysHostPointerLibProtocol";

inline constexpr CHAR8 TableNotNullText[] = "mPrivate != ((void *) 0)";

extern "C" {

/// Names of the slots for messages; null where there is none. Filled by the constructor in builds
/// with debug-only code.
extern const CHAR8 *mPointerTypeName[STATIC_POINTER_COUNT];
}
