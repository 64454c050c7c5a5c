#include "VelmoraQsmErrorHandler.h"

namespace {

constexpr UINT8 ResponseSizeMax = 0xFC;

/// "Unspecified error" (IPMI 2.0, table 5-2): what the log shows as the completion code when the
/// transport failed before it wrote one. 0 would read as success.
constexpr UINT8 NoCompletionCode = 0xFF;

} // namespace

VOID
SendRedfishEvent (UINTN Size, const RequestData *Request)
{
  UINT8 Response[ResponseSizeMax];
  Response[0] = NoCompletionCode;
  UINT8 ResponseSize = ResponseSizeMax;

  DEBUG (DEBUG_INFO, "RequestData.InstanceId = %a \n", Request->InstanceId);
  const EFI_STATUS Status = mIpmiTransport->SendIpmiCommand (
      mIpmiTransport, REDFISH_EVENT_NET_FUNCTION, REDFISH_EVENT_LUN, REDFISH_EVENT_COMMAND,
      reinterpret_cast<const UINT8 *> (Request), static_cast<UINT8> (Size), Response,
      &ResponseSize);
  DEBUG (DEBUG_INFO, "QSM_OEM_IPMI_REDFISH_COMMAND Status :%r, \n", Status);
  DEBUG (DEBUG_INFO, "!!! --- IpmiTransportPpi->CommandCompletionCode:0x%X --- !!!\n",
         static_cast<UINT32> (Response[0]));
}
