/// The IIO topology's bytes, computed from the rows by their places in the store alone.
#pragma once

#include <cstring>
#include <vector>

#include "SimulatedPci.h"
#include "TopologyRows.h"

using Bytes = std::vector<UINT8>;

/// The entry of a stack, 24 bytes at To.
inline void
PutStack (UINT8 *To, const StackRow &Row, UINTN Number, SimulatedPci &Pci)
{
  To[0] = Row.Present ? 1 : 0;
  To[1] = Row.PolicyByte20082;
  To[2] = Row.PolicyByte20178;
  std::memcpy (To + 8, &Row.UpiDword39, 4);
  if (Number < 8 && (Row.CxlStatus & 1) != 0 && (Row.CxlStatus & 2) != 0) {
    To[16] = 1;
    To[17] = Pci.MmioRead (Row.RcrbBase + 0x1000, 4) == 0xFFFFFFFF ? 1 : 0;
  }
}

/// The entry of a port, 6 bytes at To.
inline void
PutPort (UINT8 *To, const PciPlace &Place, SimulatedPci &Pci, bool IsRefreshed)
{
  To[0] = 1;
  To[1] = Place.Bus;
  To[2] = Place.Device;
  To[3] = Place.Function;
  const SimulatedPci::Registers *Function = Pci.FindFunction (Place);
  if (IsRefreshed && Function != nullptr && ((*Function)[0x0E] & 0x7F) == 1) {
    To[4] = (*Function)[0x19];
    To[5] = (*Function)[0x1A];
  }
}

/// The whole store, before SmmReadyToLock or after it.
inline Bytes
ExpectedStore (const TopologyRows &Topology, SimulatedPci &Pci, bool IsRefreshed)
{
  Bytes Store (2664, 0);
  for (UINTN Socket = 0; Socket < 4; ++Socket) {
    const SocketRow &Row = Topology.Sockets[Socket];
    if (!Row.Present) {
      continue;
    }
    UINT8 *To = Store.data () + 8 + 664 * Socket;
    To[0] = 1;
    To[1] = Row.UpiByte71;
    To[2] = Row.UpiByte69;
    To[3] = Row.MaxPort;
    UINT8 *Next = To + 4;
    for (UINTN Port = 0; Port < Row.MaxPort; ++Port) {
      if (Row.Ports[Port].Exists) {
        const PortPlaceRow &Place = Topology.Places[Port];
        PutPort (Next, {Row.Segment, Row.Ports[Port].Bus, Place.Device, Place.Function}, Pci,
                 IsRefreshed);
        Next += 6;
      }
    }
    for (UINTN Stack = 0; Stack < 12; ++Stack) {
      PutStack (To + 352 + 24 * Stack, Row.Stacks[Stack], Stack, Pci);
    }
    To[640] = Row.SysInfoByte286;
    std::memcpy (To + 648, &Row.SysInfoDword424, 4);
    To[656] = Row.SysInfoByte294;
  }
  return Store;
}
