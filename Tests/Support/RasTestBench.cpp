#include "RasTestBench.h"

#include <cstring>
#include <utility>

#include "HobList.h"
#include "Record/RasGlobalData.h"
#include "Record/RasLevelMask.h"
#include "SmmMemoryAllocationLib.h"
#include "SmmRasGlobalDataLib.h"
#include "VariableStore.h"

RasTestBench::RasTestBench ()
{
  SmmMemoryAllocationLibConstructor (nullptr, nullptr);
  EXPECT_EQ (InitializeSmmRasGlobalData (nullptr, nullptr), EFI_SUCCESS);
}

void
RasTestBench::SetLevelMask (UINT32 Mask)
{
  HobListAddGuid (&gRasLevelMaskHobGuid, &Mask, sizeof Mask);
}

std::string
RasTestBench::TakeSent ()
{
  return std::exchange (Machine.Uart.Sent, "");
}

VOID *
RasTestBench::FindSharedBuffer (const CHAR16 *Name)
{
  const Variable *Entry = VariableFind (Name, &gRasGlobalDataVariableGuid);
  VOID *Buffer = nullptr;
  if (Entry != nullptr) {
    std::memcpy (&Buffer, Entry->Data, sizeof Buffer);
  }
  return Buffer;
}
