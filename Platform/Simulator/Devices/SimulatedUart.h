/// A 16550-compatible UART at the first serial port's addresses.
#pragma once

#include <vector>

#include "DeviceBus.h"

class SimulatedUart : public BusDevice {
public:
  explicit SimulatedUart (DeviceBus &Bus);

  /// The bus face. Throws MachineFault for a register that does not exist in that direction, and
  /// for a byte that the transmit FIFO has no room for: on a real part it would be lost.
  UINT8 IoRead8 (UINT16 Port) override;
  void IoWrite8 (UINT16 Port, UINT8 Value) override;

  /// Once AfterBytes more bytes have been sent, the transmitter is full for the next Reads reads
  /// of the line status.
  void StayBusyForReads (UINTN Reads, UINTN AfterBytes = 0);

  /// The registers, as after a reset; a test may set them as an earlier boot phase would.
  UINT16 Divisor = 0;
  UINT8 InterruptEnable = 0;
  UINT8 FifoControl = 0;
  UINT8 LineControl = 0;
  UINT8 ModemControl = 0;
  UINT8 ModemStatus = 0xB0; ///< Carrier, data set ready, clear to send.

  UINT8 BusyLineStatus = 0x00; ///< What the line status shows of a full transmitter.
  UINT8 FifoFlags = 0xC0;      ///< What register 2 shows while the FIFOs are on.

  std::string Sent;          ///< All bytes sent.
  std::vector<UINTN> Bursts; ///< How many of them from one idle status to the next.

private:
  UINTN BytesInFifo = 0;
  UINTN BusyReads = 0;
  UINTN BusyFromByte = 0;

  [[nodiscard]] bool IsLatchOpen () const;
  [[nodiscard]] UINTN FifoDepth () const;
  UINT8 ReadLineStatus ();
  void Transmit (UINT8 Byte);
};
