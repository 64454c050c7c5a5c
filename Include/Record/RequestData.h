/// The OEM IPMI command that tells the BMC of a failed device.
#pragma once

#include "Base.h"

inline constexpr UINT8 REDFISH_EVENT_NET_FUNCTION = 0x32;
inline constexpr UINT8 REDFISH_EVENT_LUN = 0;
inline constexpr UINT8 REDFISH_EVENT_COMMAND = 0x2C;

/// Room for a device's Redfish id with its NUL, in bytes.
inline constexpr UINTN REDFISH_ID_SIZE_MAX = 150;

/// The request's bytes in the order in which they go to the BMC. Only the header and the id with
/// its NUL are sent; what lies behind the NUL has no meaning.
struct [[gnu::packed]] RequestData {
  UINT8 Reserved;      ///< Always 0.
  UINT8 ErrorClass;    ///< An enum ErrorClass.
  UINT8 EventSeverity; ///< An enum EventSeverity.
  CHAR8 InstanceId[REDFISH_ID_SIZE_MAX];
};
LAYOUT_OFFSET (RequestData, ErrorClass, 1);
LAYOUT_OFFSET (RequestData, EventSeverity, 2);
LAYOUT_OFFSET (RequestData, InstanceId, 3);
LAYOUT_SIZE (RequestData, 153);
