#include "BaseLib.h"
#include "Machine.h"

VOID EFIAPI
CpuDeadLoop ()
{
  volatile UINT64 Released = 0;
  while (Released == 0) {
    CpuPause ();
  }
}
