#include "SerialPortBench.h"

namespace {

using SerialPort = SerialPortBench;

TEST_F (SerialPort, IsProgrammedInOneOrder)
{
  EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
  const AccessTranscript Expected = {
      "io in 3FB 00",  "io in 3FD 60",  "io out 3FB 80", "io out 3F9 00", "io out 3F8 01",
      "io out 3FB 03", "io out 3FA 00", "io out 3FA 01", "io out 3F9 00", "io out 3FC 00"};
  EXPECT_EQ (Machine.Transcript, Expected);
}

TEST_F (SerialPort, StaysAsItIsWhenItIsSetUpEvenIfItIsBusy)
{
  Uart.LineControl = 0x43; // a break is being sent
  Uart.Divisor = 1;
  Uart.FifoControl = 0x01;
  Uart.StayBusyForReads (~UINTN{0});
  EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
  const AccessTranscript Expected = {"io in 3FB 43",  "io in 3FB 43", "io out 3FB C3",
                                     "io in 3F9 00",  "io in 3F8 01", "io in 3FB C3",
                                     "io out 3FB 43", "io in 3FA C1"};
  EXPECT_EQ (Machine.Transcript, Expected);
}

TEST_F (SerialPort, IsProgrammedWhenItDiffersInOneSetting)
{
  const struct {
    const char *Name;
    bool IsSetUp;
    UINT8 LineControl = 0x03;
    UINT16 Divisor = 1;
    UINT8 FifoControl = 0x01;
    UINT8 FifoFlags = 0xC0;
  } Rows[] = {
      {.Name = "latch left open", .IsSetUp = true, .LineControl = 0x83},
      {.Name = "deep FIFO", .IsSetUp = true, .FifoControl = 0x21},
      {.Name = "7 data bits", .IsSetUp = false, .LineControl = 0x02},
      {.Name = "stick parity", .IsSetUp = false, .LineControl = 0x23},
      {.Name = "half the rate", .IsSetUp = false, .Divisor = 2},
      {.Name = "divisor's high byte", .IsSetUp = false, .Divisor = 0x101},
      {.Name = "no FIFO", .IsSetUp = false, .FifoControl = 0x00},
      {.Name = "unusable FIFO", .IsSetUp = false, .FifoFlags = 0x80},
      {.Name = "contradictory FIFO", .IsSetUp = false, .FifoFlags = 0x40},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    Uart.LineControl = Row.LineControl;
    Uart.Divisor = Row.Divisor;
    Uart.FifoControl = Row.FifoControl;
    Uart.FifoFlags = Row.FifoFlags;
    Uart.InterruptEnable = 0x0F;
    Uart.ModemControl = 0x0B;
    EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
    EXPECT_EQ (Uart.LineControl, 0x03);
    EXPECT_EQ (Uart.Divisor, 1);
    EXPECT_EQ (Uart.FifoControl, Row.IsSetUp ? Row.FifoControl : 0x01);
    EXPECT_EQ (Uart.InterruptEnable, Row.IsSetUp ? 0x0F : 0);
    EXPECT_EQ (Uart.ModemControl, Row.IsSetUp ? 0x0B : 0);
  }
}

TEST_F (SerialPort, IsGivenUpForGoodWhenItsTransmitterIsStuck)
{
  Uart.InterruptEnable = 0x0F;
  Uart.StayBusyForReads (65536);
  EXPECT_EQ (SerialPortInitialize (), RETURN_DEVICE_ERROR);
  EXPECT_EQ (mSerialPortUsable, FALSE);
  EXPECT_EQ (Uart.InterruptEnable, 0x0F);
  Uart.StayBusyForReads (65535);
  EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
  EXPECT_EQ (mSerialPortUsable, FALSE);
}

TEST_F (SerialPort, SendsFortyBytesAsThreeBurstsEachAfterABoundedWait)
{
  EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
  const std::string Text = "forty bytes of text make up three bursts";
  EXPECT_EQ (Write (Text), 40U);
  EXPECT_EQ (Uart.Sent, Text);
  EXPECT_EQ (Uart.Bursts, (std::vector<UINTN>{16, 16, 8}));

  for (const UINT8 Busy : std::vector<UINT8>{0x00, 0x20, 0x40}) {
    SCOPED_TRACE (Busy);
    Uart.BusyLineStatus = Busy;
    Uart.StayBusyForReads (65535, 16);
    EXPECT_EQ (Write (Text), 40U);
    Uart.Sent.clear ();
    Uart.StayBusyForReads (65536, 16);
    EXPECT_EQ (Write (Text), 0U);
    EXPECT_EQ (Uart.Sent.size (), 16U);
  }
  EXPECT_EQ (mSerialPortUsable, TRUE);
}

TEST_F (SerialPort, IsWaitedForWhenThereIsNothingToSend)
{
  EXPECT_EQ (SerialPortWrite (nullptr, 4), 0U);
  EXPECT_TRUE (Machine.Transcript.empty ());
  Uart.StayBusyForReads (2);
  EXPECT_EQ (Write (""), 0U);
  EXPECT_EQ (Machine.Transcript,
             (AccessTranscript{"io in 3FD 00", "io in 3FD 00", "io in 3FD 60"}));
  Uart.StayBusyForReads (~UINTN{0});
  EXPECT_EQ (Write (""), 0U);
  EXPECT_EQ (Machine.Transcript.size (), 3U + 65536U);
}

} // namespace
