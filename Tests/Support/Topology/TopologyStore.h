/// The IIO topology's bytes, by their places in the three hand-off records alone.
#pragma once

#include <cstring>
#include <vector>

#include "HostMachine.h"
#include "Usra.h"

using Bytes = std::vector<UINT8>;

inline UINT32
Word (const UINT8 *Record, UINTN Offset)
{
  UINT32 Value = 0;
  std::memcpy (&Value, Record + Offset, sizeof Value);
  return Value;
}

/// The refreshed entry of a port, 6 bytes at To, whose first four are there.
inline void
RefreshEntry (UINT8 *To, UINT8 Segment, HostMachine &Machine)
{
  const auto Find = [=] (UINT32 Offset) {
    const UsraPcieAddress Place = {.Location = To[1] * 0x100000U + (To[2] & 0x1F) * 0x8000U +
                                               (To[3] & 7) * 0x1000U + Offset,
                                   .Segment = Segment,
                                   .Reserved = {}};
    return reinterpret_cast<UINTN> (gUsra.UsraGetAddress (&Place));
  };
  const UINTN Id = Find (0), Type = Find (0x0E), Secondary = Find (0x19), Subordinate = Find (0x1A);
  if (Id != 0 && Type != 0 && Secondary != 0 && Subordinate != 0 &&
      Machine.MmioRead (Id, 4) != 0xFFFFFFFF && (Machine.MmioRead (Type, 1) & 0x7F) == 1) {
    To[4] = static_cast<UINT8> (Machine.MmioRead (Secondary, 1));
    To[5] = static_cast<UINT8> (Machine.MmioRead (Subordinate, 1));
  }
}

/// The whole store, before SmmReadyToLock or after it, on a machine with such registers. Store is
/// what it holds before it is built.
inline Bytes
StoreOf (const VOID *IioPolicy,
         const VOID *UpiHost,
         const VOID *SystemInfo,
         HostMachine &Machine,
         bool IsRefreshed,
         Bytes Store = Bytes (2664))
{
  const auto *Policy = static_cast<const UINT8 *> (IioPolicy);
  const auto *Upi = static_cast<const UINT8 *> (UpiHost);
  const auto *Info = static_cast<const UINT8 *> (SystemInfo);
  for (UINTN S = 0; S < 4; ++S) {
    UINT8 *To = Store.data () + 8 + 664 * S;
    To[0] = Word (Upi, 4243) >> S & 1;
    if (To[0] == 0) {
      continue;
    }
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
        if (IsRefreshed) {
          RefreshEntry (Next, Info[302 + S], Machine);
        }
        Next += 6;
      }
    }
    for (UINTN K = 0; K < 12; ++K) {
      UINT8 *Stack = To + 352 + 24 * K;
      const UINT64 UpiWord = Word (Upi, 313 + 922 * S + 44 * K);
      Stack[0] = Word (Policy, 20014 + 4 * S) >> K & 1;
      Stack[1] = Policy[20082 + 12 * S + K];
      Stack[2] = Policy[20178 + 12 * S + K];
      std::memcpy (Stack + 8, &UpiWord, 8);
      Stack[16] = K < 8 && (Upi[4294 + 21 * (8 * S + K)] & 3) == 3;
      if (Stack[16] != 0) {
        const UINTN Rcrb = 9 * (12 * S + K);
        const UINT32 Base = Info[1326 + Rcrb] != 0 ? Word (Info, 1318 + Rcrb) : 0;
        Stack[17] = Base == 0 || Machine.MmioRead (Base + 0x1000, 4) == 0xFFFFFFFF;
      }
    }
    const UINT64 InfoWord = Word (Info, 424 + 44 * S);
    To[640] = Info[286 + S];
    std::memcpy (To + 648, &InfoWord, 8);
    To[656] = Info[294 + S];
  }
  return Store;
}
