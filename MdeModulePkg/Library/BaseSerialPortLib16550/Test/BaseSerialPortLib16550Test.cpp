#include "BaseSerialPortLib16550.h"

#include "ModuleTestBench.h"
#include "SimulatedUart.h"

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

TEST_F (SerialPort, IsProgrammedInOneOrderAndThenStaysAsItIsEvenIfItIsBusy)
{
  EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
  EXPECT_EQ (Transcript,
             (AccessTranscript{"io in 3FB 00", "io in 3FD 60", "io out 3FB 80", "io out 3F9 00",
                               "io out 3F8 01", "io out 3FB 03", "io out 3FA 00", "io out 3FA 01",
                               "io out 3F9 00", "io out 3FC 00"}));
  Transcript.clear ();
  Uart.LineControl = 0x43; // a break is being sent
  Uart.StayBusyForReads (~UINTN{0});
  EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
  EXPECT_EQ (Transcript,
             (AccessTranscript{"io in 3FB 43", "io in 3FB 43", "io out 3FB C3", "io in 3F9 00",
                               "io in 3F8 01", "io in 3FB C3", "io out 3FB 43", "io in 3FA C1"}));
}

TEST_F (SerialPort, IsProgrammedWhenItDiffersInOneSetting)
{
  const struct {
    UINT8 LineControl;
    UINT16 Divisor;
    UINT8 FifoControl;
    UINT8 FifoFlags;
  } Rows[] = {{0x02, 1, 1, 0xC0},     {0x23, 1, 1, 0xC0}, {0x03, 2, 1, 0xC0},
              {0x03, 0x101, 1, 0xC0}, {0x03, 1, 0, 0xC0}, {0x03, 1, 1, 0x80}};
  for (const auto &[LineControl, Divisor, FifoControl, FifoFlags] : Rows) {
    SCOPED_TRACE (testing::Message () << +LineControl << " " << Divisor << " " << +FifoControl);
    Uart.LineControl = LineControl;
    Uart.Divisor = Divisor;
    Uart.FifoControl = FifoControl;
    Uart.FifoFlags = FifoFlags;
    Uart.ModemControl = 0x0B;
    EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
    EXPECT_EQ (Uart.ModemControl, 0);
  }
}

TEST_F (SerialPort, IsGivenUpForGoodWhenItsTransmitterIsStuck)
{
  Uart.InterruptEnable = 0x0F;
  Uart.StayBusyForReads (65536);
  EXPECT_EQ (SerialPortInitialize (), RETURN_DEVICE_ERROR);
  EXPECT_EQ (Uart.InterruptEnable, 0x0F);
  Uart.StayBusyForReads (65535);
  EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
  EXPECT_EQ (mSerialPortUsable, FALSE);
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

  Transcript.clear ();
  EXPECT_EQ (SerialPortWrite (nullptr, 4), 0U);
  Uart.StayBusyForReads (2);
  EXPECT_EQ (Write (""), 0U) << "a wait for the end of what has been sent";
  EXPECT_EQ (Transcript, (AccessTranscript{"io in 3FD 40", "io in 3FD 40", "io in 3FD 60"}));
}

} // namespace
