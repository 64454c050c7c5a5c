#include "InventoryText.h"

#include "FirmwareConfiguration.h"
#include "HandOver.h"
#include "MachineLog.h"
#include "TextReader.h"

namespace {

constexpr UINTN TextSize = 0x2000;
constinit CHAR8 mText[TextSize] = {};

constexpr UINT64 ByteMax = 0xFF;
constexpr UINT64 SlotMax = 0x1FFF;
constexpr UINT64 AddressMax = 0xFFFFFFFFFFFFFFFF;

/// What reads the words of a line behind its first. Returns null, or what is wrong.
using LineFunction = const CHAR8 *(*)(TextReader &Words, InventoryEntry &Entry);

bool
ReadByte (TextReader &Words, UINT8 &Byte)
{
  UINT64 Number;
  if (!ReadNumber (Words, 10, ByteMax, Number)) {
    return false;
  }
  Byte = static_cast<UINT8> (Number);
  return true;
}

const CHAR8 *
ReadProcessorLine (TextReader &Words, InventoryEntry &Entry)
{
  Entry.Type = ErrorClassProcessor;
  return ReadNumber (Words, 10, ByteMax, Entry.Socket) &&
                 ReadWord (Words, Entry.Name, sizeof Entry.Name)
             ? nullptr
             : "expected processor SOCKET NAME";
}

/// Whether addresses of a memory device are those of one before it too. A range may end with the
/// last address, so that its end is 0.
bool
Overlaps (const InventoryEntry &Memory)
{
  const HandOver &Found = HandOverRecord ().Found;
  for (UINTN Index = 0; Index < Found.InventoryEntryCount; ++Index) {
    const InventoryEntry &Other = Found.Inventory[Index];
    if (Memory.Size != 0 && Other.Size != 0 &&
        (Memory.Base - Other.Base < Other.Size || Other.Base - Memory.Base < Memory.Size)) {
      return true;
    }
  }
  return false;
}

const CHAR8 *
ReadMemoryLine (TextReader &Words, InventoryEntry &Entry)
{
  Entry.Type = ErrorClassMemory;
  bool Known = ReadNumber (Words, 10, ByteMax, Entry.Socket) && ReadByte (Words, Entry.Channel) &&
               ReadByte (Words, Entry.Dimm) && ReadWord (Words, Entry.Name, sizeof Entry.Name);
  if (Known && !TextEnds (Words)) {
    Known = ReadNumber (Words, 16, AddressMax, Entry.Base) &&
            ReadNumber (Words, 16, AddressMax, Entry.Size);
  }
  if (!Known) {
    return "expected memory SOCKET CHANNEL DIMM NAME [BASE SIZE]";
  }
  return Overlaps (Entry) ? "the addresses are those of another DIMM too" : nullptr;
}

/// Returns the root port with this slot, or null.
const PciFunction *
FindRootPort (UINT64 Slot)
{
  const HandOver &Found = HandOverRecord ().Found;
  for (UINTN Index = 0; Index < Found.PciFunctionCount; ++Index) {
    const PciFunction &Each = Found.PciFunctions[Index];
    if (Each.IsRootPort != 0 && Each.HasSlot != 0 && Each.Slot == Slot) {
      return &Each;
    }
  }
  return nullptr;
}

bool
HasFunction (UINT8 Bus)
{
  const HandOver &Found = HandOverRecord ().Found;
  for (UINTN Index = 0; Index < Found.PciFunctionCount; ++Index) {
    const PciFunction &Each = Found.PciFunctions[Index];
    if (Each.Bus == Bus && Each.Device == 0 && Each.Function == 0) {
      return true;
    }
  }
  return false;
}

/// Reads NUMBER NAME. Returns null with the root port that has the slot of that number, or what is
/// wrong.
const CHAR8 *
ReadPort (TextReader &Words, InventoryEntry &Entry, const PciFunction **Port)
{
  UINT64 Slot;
  Entry.Type = ErrorClassPcie;
  if (!ReadNumber (Words, 10, SlotMax, Slot) || !ReadWord (Words, Entry.Name, sizeof Entry.Name)) {
    return "expected slot or port NUMBER NAME";
  }
  *Port = FindRootPort (Slot);
  return *Port == nullptr ? "no root port has this slot" : nullptr;
}

const CHAR8 *
ReadSlotLine (TextReader &Words, InventoryEntry &Entry)
{
  const PciFunction *Port;
  const CHAR8 *Wrong = ReadPort (Words, Entry, &Port);
  if (Wrong != nullptr) {
    return Wrong;
  }
  Entry.Bus = Port->SecondaryBus;
  return HasFunction (Entry.Bus) ? nullptr : "the slot is empty";
}

const CHAR8 *
ReadPortLine (TextReader &Words, InventoryEntry &Entry)
{
  const PciFunction *Port;
  const CHAR8 *Wrong = ReadPort (Words, Entry, &Port);
  if (Wrong == nullptr) {
    Entry.Bus = Port->Bus;
    Entry.Device = Port->Device;
    Entry.Function = Port->Function;
  }
  return Wrong;
}

struct LineKind {
  const CHAR8 *Name;
  LineFunction Function;
};
constexpr LineKind LineKinds[] = {{"processor", ReadProcessorLine},
                                  {"memory", ReadMemoryLine},
                                  {"slot", ReadSlotLine},
                                  {"port", ReadPortLine}};

/// Reads one line, whose end it moves Words to. Returns null, or what is wrong.
const CHAR8 *
ReadLine (TextReader &Words)
{
  HandOver &Found = HandOverRecord ().Found;
  CHAR8 Kind[16];
  if (Found.InventoryEntryCount == InventoryEntryMax) {
    return "there are more devices than the machine has room for";
  }
  if (ReadWord (Words, Kind, sizeof Kind)) {
    for (const LineKind &Each : LineKinds) {
      if (!IsSameWord (Kind, Each.Name)) {
        continue;
      }
      InventoryEntry &Entry = Found.Inventory[Found.InventoryEntryCount];
      Entry = {};
      const CHAR8 *Wrong = Each.Function (Words, Entry);
      ++Found.InventoryEntryCount;
      return Wrong == nullptr && !TextEnds (Words) ? "there are words too many" : Wrong;
    }
  }
  return "expected processor, memory, slot or port";
}

} // namespace

VOID
ReadInventory ()
{
  HandOverRecord ().Found.InventoryEntryCount = 0;
  (void)ReadConfigurationText (InventoryFile, mText, sizeof mText);
  TextReader Words = {mText};
  for (UINTN Line = 1; *Words.Next != '\0'; ++Line) {
    if (!TextEnds (Words)) {
      const CHAR8 *Wrong = ReadLine (Words);
      if (Wrong != nullptr) {
        EndRun (EndSettings, "boot: inventory line %ld: %a\n", Line, Wrong);
      }
    }
    Words.Next += *Words.Next == '\n' ? 1 : 0;
  }
}
