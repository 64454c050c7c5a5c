#include "SharedBuffers.h"

#include <algorithm>
#include <cstring>

#include "Identity.h"
#include "Pool.h"
#include "ProtocolDatabase.h"
#include "Record/RasGlobalData.h"
#include "VariablePolicy.h"
#include "VariableStore.h"

namespace {

std::span<const UINT8>
LiveBlock (PoolKind Kind, UINT64 Address)
{
  for (const PoolBlock &Block : gPools[Kind].Blocks) {
    if (Block.Live && reinterpret_cast<UINT64> (Block.Address) == Address) {
      return {Block.Address, Block.Size};
    }
  }
  return {};
}

SharedBuffer
BufferOf (const Variable &Entry)
{
  const std::u16string Name = Entry.Name;
  SharedBuffer Buffer;
  Buffer.Name = {Name.begin (), Name.end ()};
  std::memcpy (&Buffer.Address, Entry.Data,
               std::min<UINTN> (Entry.DataSize, sizeof Buffer.Address));
  Buffer.Content = LiveBlock (PoolSmm, Buffer.Address);
  Buffer.InSmm = !Buffer.Content.empty ();
  if (!Buffer.InSmm) {
    Buffer.Content = LiveBlock (PoolBoot, Buffer.Address);
  }
  Buffer.Locked = VariablePolicyLocks (Entry.Name, &Entry.Namespace);
  return Buffer;
}

} // namespace

std::vector<SharedBuffer>
SharedBuffers ()
{
  std::vector<SharedBuffer> Buffers;
  for (const Variable &Entry : gVariables) {
    if (Entry.InUse && IsSameGuid (Entry.Namespace, gRasGlobalDataVariableGuid)) {
      Buffers.push_back (BufferOf (Entry));
    }
  }
  return Buffers;
}

std::optional<SharedBuffer>
FindSharedBuffer (const CHAR16 *Name)
{
  const Variable *Entry = VariableFind (Name, &gRasGlobalDataVariableGuid);
  return Entry != nullptr ? std::optional (BufferOf (*Entry)) : std::nullopt;
}

std::span<const UINT8>
LiveSmmBlock (UINT64 Address)
{
  return LiveBlock (PoolSmm, Address);
}

std::span<const UINT8>
SharedInterface (const EFI_GUID &Protocol)
{
  VOID *Interface = nullptr;
  ProtocolLocate (ProtocolSmm, &Protocol, &Interface);
  return LiveSmmBlock (reinterpret_cast<UINT64> (Interface));
}
