/// The IIO topology out of hand-off records of any content.
#pragma once

#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "BaseSerialPortLib16550.h"
#include "HandOffRecords.h"
#include "IioTopologyLibInternal.h"
#include "SimulatedMachine.h"
#include "UpiHostDataLib.h"
#include "Usra.h"

/// A machine with something at every address, and a device at three of four.
class NoiseMachine : public SimulatedMachine {
public:
  NoiseMachine ()
      : SimulatedMachine (
            {.Name = "", .Processors = {{"intel-sapphire-rapids", 0, true}}, .Devices = {}})
  {
    PauseLimit = 1;
  }

  static UINT32
  Register (UINTN Address, UINTN Width)
  {
    constexpr UINT64 Mixer = 0x9E3779B97F4A7C15;
    const UINT64 Mixed = Address * Mixer;
    const auto Noise = static_cast<UINT32> ((Mixed ^ Mixed >> 32) * Mixer >> 32);
    return Width == 1 ? Noise & 0x83 : (Noise & 3) == 0 ? 0xFFFFFFFF : Noise;
  }

  UINT32
  MmioRead (UINTN Address, UINTN Width) override
  {
    ++Accesses;
    return Register (Address, Width);
  }

  UINTN Accesses = 0;
};

/// Where USRA finds a register on this machine; it does not find one of 13.
inline VOID *EFIAPI
NoiseAddress (const UsraPcieAddress *Address)
{
  return Address->Location % 13 == 0
             ? nullptr
             : reinterpret_cast<VOID *> ((UINT64{Address->Segment} + 1) << 32 | Address->Location);
}

inline UINT32
Word (const UINT8 *Record, UINTN Offset)
{
  UINT32 Value = 0;
  std::memcpy (&Value, Record + Offset, sizeof Value);
  return Value;
}

/// The refreshed entry of a port, 6 bytes at To, whose first four are there.
inline void
RefreshEntry (UINT8 *To, UINT8 Segment)
{
  const auto Find = [=] (UINT32 Offset) {
    const UsraPcieAddress Place = {.Location = To[1] * 0x100000U + (To[2] & 0x1F) * 0x8000U +
                                               (To[3] & 7) * 0x1000U + Offset,
                                   .Segment = Segment,
                                   .Reserved = {}};
    return reinterpret_cast<UINTN> (NoiseAddress (&Place));
  };
  const UINTN Id = Find (0), Type = Find (0x0E), Secondary = Find (0x19), Subordinate = Find (0x1A);
  if (Id != 0 && Type != 0 && Secondary != 0 && Subordinate != 0 &&
      NoiseMachine::Register (Id, 4) != 0xFFFFFFFF &&
      (NoiseMachine::Register (Type, 1) & 0x7F) == 1) {
    To[4] = static_cast<UINT8> (NoiseMachine::Register (Secondary, 1));
    To[5] = static_cast<UINT8> (NoiseMachine::Register (Subordinate, 1));
  }
}

/// The whole store behind SmmReadyToLock, by the places of its bytes in the three records alone.
inline std::vector<UINT8>
StoreOf (const UINT8 *Policy, const UINT8 *Upi, const UINT8 *Info)
{
  std::vector<UINT8> Store (2664, 0);
  for (UINTN S = 0; S < 4; ++S) {
    if ((Word (Upi, 4243) >> S & 1) == 0) {
      continue;
    }
    UINT8 *To = Store.data () + 8 + 664 * S;
    To[0] = 1;
    To[1] = Upi[71 + 922 * S];
    To[2] = Upi[69 + 922 * S];
    const UINTN MaxPort = Policy[24644 + S] <= 57 ? Policy[24644 + S] : 0;
    To[3] = static_cast<UINT8> (MaxPort);
    UINT8 *Next = To + 4;
    for (UINTN I = 0; I < MaxPort; ++I) {
      if (Policy[22348 + S * MaxPort + I] != 0) {
        Next[0] = 1;
        Next[1] = Policy[20610 + 57 * S + I];
        Next[2] = Policy[21819 + 9 * I];
        Next[3] = Policy[21820 + 9 * I];
        RefreshEntry (Next, Info[302 + S]);
        Next += 6;
      }
    }
    for (UINTN K = 0; K < 12; ++K) {
      UINT8 *Stack = To + 352 + 24 * K;
      Stack[0] = Word (Policy, 20014 + 4 * S) >> K & 1;
      Stack[1] = Policy[20082 + 12 * S + K];
      Stack[2] = Policy[20178 + 12 * S + K];
      std::memcpy (Stack + 8, Upi + 313 + 922 * S + 44 * K, 4);
      if (K < 8 && (Upi[4294 + 21 * (8 * S + K)] & 3) == 3) {
        const UINTN Rcrb = 9 * (12 * S + K);
        const UINT32 Base = Info[1326 + Rcrb] != 0 ? Word (Info, 1318 + Rcrb) : 0;
        Stack[16] = 1;
        Stack[17] = Base == 0 || NoiseMachine::Register (Base + 0x1000, 4) == 0xFFFFFFFF;
      }
    }
    To[640] = Info[286 + S];
    std::memcpy (To + 648, Info + 424 + 44 * S, 4);
    To[656] = Info[294 + S];
  }
  return Store;
}

/// Fills a record with Noise, over and over.
inline UINT8 *
Fill (const VOID *Record, UINTN Size, std::span<const UINT8> Noise)
{
  auto *To = static_cast<UINT8 *> (const_cast<VOID *> (Record));
  for (UINTN Index = 0; Index < Size; ++Index) {
    To[Index] = Noise[Index % Noise.size ()];
  }
  return To;
}

/// A frame of its own for what the exception of a stop passes.
[[gnu::noinline]] inline void
BuildAndRefresh ()
{
  if (!EFI_ERROR (InitializeIioTopology ())) {
    IioTopologyReadyToLockNotify (nullptr, nullptr, nullptr);
  }
}

/// Builds and refreshes the store out of Noise, which is not empty, on a machine of noise that is
/// bound. Returns what is wrong, or "". A processor that stopped for too many ports is not wrong.
inline std::string
TryNoise (std::span<const UINT8> Noise, NoiseMachine &Machine)
{
  constexpr UINTN AccessesMax = 4 * (8 * 2 + 57 * 4);
  gUsra.UsraGetAddress = NoiseAddress;
  mSerialPortUsable = FALSE;
  Machine.Accesses = 0;
  UINT8 *Policy = Fill (HandOffIioPolicy (), sizeof (IioSiPolicy), Noise);
  const UINT8 *Upi = Fill (GetUpiHostRecord (), sizeof (UpiHostRecord), Noise);
  const UINT8 *Info = Fill (&gSystemInfo, sizeof gSystemInfo, Noise);
  const bool HasTooManyPorts = (Noise[0] & 3) == 0;
  for (UINTN S = 0; S < 4; ++S) {
    Policy[24644 + S] = static_cast<UINT8> (HasTooManyPorts ? Noise[S] : Noise[S] % 58);
  }
  std::memset (mIioTopology, 0, sizeof *mIioTopology);
  try {
    BuildAndRefresh ();
  } catch (const ProcessorStopped &) {
    return HasTooManyPorts ? "" : "the processor stopped";
  }
  if (Machine.Accesses > AccessesMax) {
    return "too many accesses";
  }
  const std::vector<UINT8> Expected = StoreOf (Policy, Upi, Info);
  const auto *Store = reinterpret_cast<const UINT8 *> (mIioTopology);
  const auto [Wrong, Right] = std::mismatch (Store, Store + 2664, Expected.begin ());
  return Wrong == Store + 2664 ? "" : "byte " + std::to_string (Wrong - Store) + " of the store";
}
