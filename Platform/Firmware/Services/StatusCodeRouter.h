/// The status-code router in SMM.
#pragma once

#include "Protocol/SmmRscHandler.h"

inline constexpr UINTN ListenerMax = 16;

extern "C" {

/// Forgets all listeners and installs EFI_SMM_RSC_HANDLER_PROTOCOL.
VOID StatusCodeRouterReset ();

/// Number of listeners that stand registered.
UINTN StatusCodeListenerCount ();
}
