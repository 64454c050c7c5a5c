#include "FirmwareConfiguration.h"

#include "Machine.h"
#include "MachineLog.h"
#include "ProcessorInstructions.h"

namespace {

constexpr UINT16 SelectorPort = 0x510;
constexpr UINT16 DataPort = 0x511;
constexpr UINT16 KeySignature = 0x00;
constexpr UINT16 KeyDirectory = 0x19;
constexpr UINT32 Signature = 0x554D4551; // "QEMU"

/// One entry of the directory, whose numbers are big-endian.
struct DirectoryEntry {
  UINT32 Size;
  UINT16 Key;
  UINT16 Reserved;
  CHAR8 Name[56];
};
LAYOUT_SIZE (DirectoryEntry, 64);

VOID
ReadBytes (VOID *To, UINTN Size)
{
  for (UINTN Index = 0; Index < Size; ++Index) {
    static_cast<UINT8 *> (To)[Index] = IoRead8 (DataPort);
  }
}

VOID
CheckDevice ()
{
  UINT32 Found;
  IoWrite16 (SelectorPort, KeySignature);
  ReadBytes (&Found, sizeof Found);
  if (Found != Signature) {
    EndRun (EndMachine, "boot: there is no firmware configuration device\n");
  }
}

bool
IsNamed (const DirectoryEntry &Entry, const CHAR8 *Name)
{
  UINTN Index = 0;
  while (Index < sizeof Entry.Name - 1 && Entry.Name[Index] == Name[Index] && Name[Index] != '\0') {
    ++Index;
  }
  return Entry.Name[Index] == Name[Index];
}

bool
FindFile (const CHAR8 *Name, DirectoryEntry *Entry)
{
  UINT32 Count;
  IoWrite16 (SelectorPort, KeyDirectory);
  ReadBytes (&Count, sizeof Count);
  Count = __builtin_bswap32 (Count);
  for (UINT32 Index = 0; Index < Count; ++Index) {
    ReadBytes (Entry, sizeof *Entry);
    if (IsNamed (*Entry, Name)) {
      return true;
    }
  }
  return false;
}

} // namespace

bool
ReadConfigurationText (const CHAR8 *Name, CHAR8 *Text, UINTN TextSize)
{
  DirectoryEntry Entry;
  CheckDevice ();
  if (!FindFile (Name, &Entry)) {
    return false;
  }
  const UINTN Size = __builtin_bswap32 (Entry.Size);
  if (Size >= TextSize) {
    EndRun (EndSettings, "boot: %a has %ld bytes and may have %ld\n", Name, Size, TextSize - 1);
  }
  IoWrite16 (SelectorPort, __builtin_bswap16 (Entry.Key));
  ReadBytes (Text, Size);
  Text[Size] = '\0';
  for (UINTN Index = 0; Index < Size; ++Index) {
    if (Text[Index] == '\0') {
      EndRun (EndSettings, "boot: %a is no text: byte %ld is 0\n", Name, Index);
    }
  }
  return true;
}
