/// What the sources of this module share.
#pragma once

#include "IioTopologyLib.h"
#include "Record/IioTopologyStore.h"

extern "C" {

/// The shared store; null until bound. It belongs to no driver and is never freed.
extern IioTopologyStore *mIioTopology;
}

/// The source file that all assertions of this module report.
inline constexpr CHAR8 IioTopologySourceFile[] =
    "ServerRasPkg/Library/IioTopologyLib/IioTopologyLibSpr";
