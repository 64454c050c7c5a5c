#include "BaseSerialPortLib16550.h"

#include "Machine.h"
#include "ModuleTestBench.h"
#include "Pcd.h"
#include "SimulatedUart.h"
#include "Uart16550.h"

// The module under settings that this build does not select: what a namespace declares hides the
// build's own.
namespace DeepFifoAndCable {
constexpr UINT16 PcdSerialRegisterBase = 0x2E8;
constexpr UINT16 PcdSerialRegisterStride = 4;
constexpr UINT32 PcdSerialBaudRate = 76800; // one and a half clocks to a sixteenth of a bit
constexpr UINT8 PcdSerialFifoControl = 0x27;
constexpr BOOLEAN PcdSerialUseHardwareFlowControl = TRUE;
constexpr BOOLEAN PcdSerialDetectCable = TRUE;
#include "BaseSerialPortLib16550.cpp"
} // namespace DeepFifoAndCable

namespace NoFifoAndNoCable {
constexpr UINT32 PcdSerialBaudRate = 300;
constexpr UINT8 PcdSerialFifoControl = 0x26;
constexpr BOOLEAN PcdSerialUseHardwareFlowControl = TRUE;
#include "BaseSerialPortLib16550.cpp"
} // namespace NoFifoAndNoCable

namespace NoPort {
constexpr UINT16 PcdSerialRegisterBase = 0;
#include "BaseSerialPortLib16550.cpp"
} // namespace NoPort

namespace {

class SerialPort : public ModuleTestBench {
public:
  SerialPort ()
  {
    UseMachine (Bus);
    Uart.Transcript = &Transcript;
  }

  static UINTN
  Write (const std::string &Text)
  {
    return SerialPortWrite (reinterpret_cast<const UINT8 *> (Text.data ()), Text.size ());
  }

  DeviceBus Bus;
  SimulatedUart Uart{Bus};
  AccessTranscript Transcript;
};

// The order of all accesses, and what becomes of a transmitter that stays busy, can be read in the
// transcripts.
TEST_F (SerialPort, IsProgrammedWhenItDiffersInOneSettingAndElseStaysAsItIs)
{
  const struct {
    UINT8 LineControl;
    UINT16 Divisor;
    UINT8 FifoControl;
    UINT8 FifoFlags;
    bool Stays = false;
  } Rows[] = {{0x02, 1, 1, 0xC0},      {0x23, 1, 1, 0xC0}, {0x03, 2, 1, 0xC0},
              {0x03, 0x101, 1, 0xC0},  {0x03, 1, 0, 0xC0}, {0x03, 1, 1, 0x80},
              {0x43, 1, 1, 0xC0, true}}; // a break is being sent
  for (const auto &Row : Rows) {
    SCOPED_TRACE (&Row - Rows);
    Uart.LineControl = Row.LineControl;
    Uart.Divisor = Row.Divisor;
    Uart.FifoControl = Row.FifoControl;
    Uart.FifoFlags = Row.FifoFlags;
    Uart.ModemControl = 0x0B;
    Uart.StayBusyForReads (Row.Stays ? ~UINTN{0} : 65535);
    EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
    EXPECT_EQ (Uart.ModemControl, Row.Stays ? 0x0B : 0);
    EXPECT_EQ (Uart.LineControl, Row.Stays ? 0x43 : 0x03);
  }
}

TEST_F (SerialPort, SendsFortyBytesAsThreeBurstsEachAfterABoundedWait)
{
  EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
  const std::string Text = "forty bytes of text make up three bursts";
  for (const UINT8 Busy : std::vector<UINT8>{0x20, 0x40}) {
    SCOPED_TRACE (Busy);
    Uart.BusyLineStatus = Busy;
    Uart.Sent.clear ();
    Uart.Bursts.clear ();
    Uart.StayBusyForReads (65535, 16);
    EXPECT_EQ (Write (Text), 40U);
    EXPECT_EQ (Uart.Sent, Text);
    EXPECT_EQ (Uart.Bursts, (std::vector<UINTN>{16, 16, 8}));
    Uart.StayBusyForReads (65536, 16);
    EXPECT_EQ (Write (Text), 0U);
    EXPECT_EQ (Uart.Sent.size (), 56U);
  }
  EXPECT_EQ (mSerialPortUsable, TRUE);

  Uart.StayBusyForReads (65536);
  EXPECT_EQ (Write (""), 0U) << "not waited for longer";
  EXPECT_EQ (SerialPortWrite (nullptr, 4), 0U);
  Transcript.clear ();
  Uart.StayBusyForReads (2);
  EXPECT_EQ (Write (""), 0U) << "a wait for the end of what has been sent";
  EXPECT_EQ (Transcript, (AccessTranscript{"io in 3FD 40", "io in 3FD 40", "io in 3FD 60"}));
}

/// The registers of the port also at base 0x2E8 with a stride of 4.
class TwoPortBus : public DeviceBus {
public:
  static UINT16
  OnlyPort (UINT16 Port)
  {
    return Port < 0x3F8 && Port % 4 == 0 ? static_cast<UINT16> (0x3F8 + (Port - 0x2E8) / 4) : Port;
  }

  UINT8
  IoRead8 (UINT16 Port) override
  {
    return DeviceBus::IoRead8 (OnlyPort (Port));
  }

  void
  IoWrite8 (UINT16 Port, UINT8 Value) override
  {
    DeviceBus::IoWrite8 (OnlyPort (Port), Value);
  }
};

TEST (SerialPortSettings, DecideOnDivisorFifoBurstAndOtherSide)
{
  const struct {
    RETURN_STATUS (*Initialize) ();
    UINTN (*Write) (const UINT8 *Buffer, UINTN NumberOfBytes);
    UINT16 Divisor;
    UINT8 FifoControl;
    std::vector<UINTN> Bursts;
    std::vector<UINTN> Written; ///< By modem status: nothing, CTS, DSR, both.
  } Rows[] = {
      {DeepFifoAndCable::SerialPortInitialize,
       DeepFifoAndCable::SerialPortWrite,
       2,
       0x21,
       {64, 2},
       {0, 0, 0, 66}},
      {NoFifoAndNoCable::SerialPortInitialize,
       NoFifoAndNoCable::SerialPortWrite,
       384,
       0x20,
       std::vector<UINTN> (66, 1),
       {66, 66, 0, 66}},
  };
  TwoPortBus Bus;
  gHostMachine = &Bus;
  SimulatedUart Uart (Bus);
  AccessTranscript Transcript;
  Uart.Transcript = &Transcript;
  const UINT8 Bytes[66] = {};
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Divisor);
    EXPECT_EQ (Row.Initialize (), RETURN_SUCCESS);
    EXPECT_EQ (Uart.Divisor, Row.Divisor);
    EXPECT_EQ (Uart.FifoControl, Row.FifoControl);
    Uart.FifoControl ^= 1;
    EXPECT_EQ (Row.Initialize (), RETURN_SUCCESS);
    EXPECT_EQ (Uart.FifoControl, Row.FifoControl);
    Uart.ModemControl = 0x0B;
    EXPECT_EQ (Row.Initialize (), RETURN_SUCCESS);
    EXPECT_EQ (Uart.ModemControl, 0x0B) << "stays as it is";
    for (UINT8 Lines = 0; Lines < 4; ++Lines) {
      Uart.ModemStatus = static_cast<UINT8> (0x8F | Lines << 4);
      Uart.Bursts.clear ();
      EXPECT_EQ (Row.Write (Bytes, sizeof Bytes), Row.Written[Lines]) << +Lines;
    }
    EXPECT_EQ (Uart.Bursts, Row.Bursts);
    Transcript.clear ();
    EXPECT_EQ (Row.Write (Bytes, 0), 0U);
    EXPECT_EQ (Transcript, (AccessTranscript{"io in 3FD 60", "io in 3FE BF"}));
  }
  EXPECT_EQ (NoPort::SerialPortInitialize (), RETURN_DEVICE_ERROR);
  EXPECT_EQ (NoPort::SerialPortWrite (Bytes, 1), 0U);
  gHostMachine = nullptr;
}

} // namespace
