#include "BmcProcess.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include "IpmiFrame.h"
#include "LocalSocket.h"
#include "MachineError.h"
#include "TemporaryDirectory.h"

namespace {

using Bytes = std::vector<UINT8>;

/// The part of QEMU.
class IpmiClient {
public:
  explicit IpmiClient (const std::filesystem::path &Path) : Socket (ConnectTo (Path))
  {
    Send ({0xFF, 0x01, 0xA1, 0x08, 0x3F, 0xA1});
    EXPECT_EQ (Receive ().Kind, FrameKind::Control);
  }

  /// Sends the bytes one by one, as a slow machine would.
  void
  Send (const Bytes &Stream)
  {
    for (const UINT8 &Byte : Stream) {
      EXPECT_EQ (send (Socket.Get (), &Byte, 1, MSG_NOSIGNAL), 1);
    }
  }

  Frame
  Receive ()
  {
    for (UINT8 Byte = 0; recv (Socket.Get (), &Byte, 1, 0) == 1;) {
      if (const auto Frame = Reader.Take (Byte)) {
        return *Frame;
      }
    }
    ADD_FAILURE () << "the BMC has closed the connection";
    return {};
  }

  void
  SendEvent (UINT8 Sequence)
  {
    Send (EncodeFrame (FrameKind::Message,
                       EncodeMessage ({.Sequence = Sequence,
                                       .NetFunction = 0x32,
                                       .Command = 0x2C,
                                       .Data = {0x00, 0x02, 0x01, 'A', Sequence, 0x00}})));
  }

  /// Sequence number and completion code of the next answer.
  std::pair<UINT8, UINT8>
  Answer ()
  {
    const auto Message = DecodeMessage (Receive ().Bytes).value_or (IpmiMessage{.Data = {0xEE}});
    return {Message.Sequence, Message.Data.at (0)};
  }

private:
  FileDescriptor Socket;
  FrameReader Reader;
};

class BmcProcessTest : public testing::Test {
public:
  TemporaryDirectory Directory;
  BmcProcess Bmc{{.Program = QSMBMC_PROGRAM,
                  .Socket = Directory.Path () / "bmc",
                  .Log = Directory.Path () / "log"}};
};

BmcEvent
Event (UINT64 Sequence, const std::string &Id, const std::string &IdBytes)
{
  return {Sequence, "memory", "Warning", Id, "00 02 01 41 " + IdBytes + " 00"};
}

TEST_F (BmcProcessTest, GoesOnAfterEachEnd)
{
  const auto SendOne = [this] (UINT8 Sequence) {
    IpmiClient Client (Directory.Path () / "bmc");
    Client.Send ({0x55, 0xA0, 0xAA, 0xA1}); // No message, and no frame.
    Client.SendEvent (Sequence);
    EXPECT_EQ (Client.Answer (), std::pair (Sequence, UINT8{0}));
  };
  SendOne ('1');
  EXPECT_EQ (Bmc.TakeEvents (), std::vector{Event (1, "A1", "31")});
  EXPECT_EQ (Bmc.TakeEvents (), std::vector<BmcEvent>{});
  Bmc.Kill ();
  EXPECT_TRUE (std::filesystem::exists (Directory.Path () / "bmc"));
  Bmc.Start ();
  SendOne ('2');
  Bmc.Stop ();
  EXPECT_FALSE (std::filesystem::exists (Directory.Path () / "bmc"));
  Bmc.Start ();
  SendOne ('3');
  SendOne ('4');
  EXPECT_EQ (Bmc.WaitForEvent (), Event (3, "A3", "33"));
  EXPECT_EQ (Bmc.WaitForEvent (), Event (4, "A4", "34"));
}

TEST_F (BmcProcessTest, LetsASecondMachineWait)
{
  auto First = std::make_unique<IpmiClient> (Directory.Path () / "bmc");
  const FileDescriptor Second = ConnectTo (Directory.Path () / "bmc");
  First->SendEvent ('1');
  EXPECT_EQ (First->Answer ().first, '1');
  UINT8 Byte = 0;
  EXPECT_LT (recv (Second.Get (), &Byte, 1, MSG_DONTWAIT), 0);
  First.reset ();
  EXPECT_EQ (recv (Second.Get (), &Byte, 1, 0), 1);
}

TEST (BmcProcess, ThatCannotRunIsAnError)
{
  EXPECT_THROW (BmcProcess ({.Program = "/nosuch/qsmbmc", .Socket = "/nosuch/bmc"}), MachineError);
  EXPECT_THROW (BmcProcess ({.Program = QSMBMC_PROGRAM, .Socket = "/nosuch/bmc"}), MachineError);
}

} // namespace
