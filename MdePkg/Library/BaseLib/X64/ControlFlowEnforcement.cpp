#include "Pcd.h"

const UINT32 PcdControlFlowEnforcementPropertyMask = 1;
