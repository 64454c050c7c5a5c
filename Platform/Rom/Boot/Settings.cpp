#include "Settings.h"

#include "Cmos.h"
#include "FirmwareConfiguration.h"
#include "HandOver.h"
#include "MachineLog.h"
#include "Pcd.h"
#include "TextReader.h"

namespace {

/// Reads a setting of one number. Returns false when it is not given.
bool
ReadSetting (const CHAR8 *Name, UINTN Base, UINT64 Maximum, UINT64 &Number)
{
  CHAR8 Text[32];
  if (!ReadConfigurationText (Name, Text, sizeof Text)) {
    return false;
  }
  TextReader Reader = {Text};
  if (!ReadNumber (Reader, Base, Maximum, Number) || !TextEnds (Reader)) {
    EndRun (EndSettings, "boot: %a: expected a number up to %ld, found \"%a\"\n", Name, Maximum,
            Text);
  }
  return true;
}

/// The mask lies in CMOS, its low byte first.
VOID
WriteLogLevels (UINT64 Levels)
{
  for (UINTN Byte = 0; Byte < sizeof (UINT32); ++Byte) {
    WriteCmos (static_cast<UINT8> (RasLevelCmosOffset + Byte),
               static_cast<UINT8> (Levels >> 8 * Byte));
  }
}

} // namespace

VOID
ReadSettings ()
{
  UINT64 VolumeSize = 0;
  (void)ReadSetting (VolumeSizeFile, 10, VOLUME_MAX, VolumeSize);
  UINT64 Quiet = 0;
  (void)ReadSetting (QuietFile, 10, 1, Quiet);
  UINT64 LogLevels;
  if (ReadSetting (LogLevelsFile, 16, 0xFFFFFFFF, LogLevels)) {
    WriteLogLevels (LogLevels);
  }
  HandOver &Found = HandOverRecord ().Found;
  Found.Quiet = static_cast<UINT32> (Quiet);
  Found.VolumeSize = VolumeSize;
}
