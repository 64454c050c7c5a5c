#include "HardwareErrors.h"

UINTN
ReportHardwareErrors (const HardwareErrorSources *Sources)
{
  return ReportPcieErrors (Sources) + ReportMachineChecks (Sources);
}
