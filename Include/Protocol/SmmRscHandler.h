/// EFI_SMM_RSC_HANDLER_PROTOCOL, the status-code router in SMM (PI 1.8, volume 3, 7).
#pragma once

#include "Uefi/StatusCode.h"

inline constexpr EFI_GUID gEfiSmmRscHandlerProtocolGuid = {
    0x2FF29FA7, 0x5E80, 0x4ED9, {0xB3, 0x80, 0x01, 0x7D, 0x3C, 0x55, 0x4F, 0xF4}};

/// Called for every status code reported in SMM. Data may be null; it belongs to the reporter.
using EFI_SMM_RSC_HANDLER_CALLBACK = EFI_STATUS (EFIAPI *) (EFI_STATUS_CODE_TYPE CodeType,
                                                            EFI_STATUS_CODE_VALUE Value,
                                                            UINT32 Instance,
                                                            EFI_GUID *CallerId,
                                                            EFI_STATUS_CODE_DATA *Data);

struct EFI_SMM_RSC_HANDLER_PROTOCOL {
  EFI_STATUS (EFIAPI *Register) (EFI_SMM_RSC_HANDLER_CALLBACK Callback);
  EFI_STATUS (EFIAPI *Unregister) (EFI_SMM_RSC_HANDLER_CALLBACK Callback);
};
LAYOUT_OFFSET (EFI_SMM_RSC_HANDLER_PROTOCOL, Unregister, 8);
