#include "QsmsimTest.h"

#include "Console.h"

namespace {

class MakeRecord : public QsmsimTest {
public:
  /// Bytes of a file as text, zeros at the end of each block of 16 left out with the block if all
  /// are: "offset: bytes" lines.
  std::string
  Dump (const std::string &File)
  {
    const std::string Content = Read (File);
    std::string Text;
    for (std::size_t Offset = 0; Offset < Content.size (); Offset += 8) {
      const std::string Block = Content.substr (Offset, 8);
      if (Block.find_first_not_of ('\0') != std::string::npos) {
        const auto *Bytes = reinterpret_cast<const UINT8 *> (Block.data ());
        Text += std::to_string (Offset) + ": " + HexText ({Bytes, Block.size ()}) + "\n";
      }
    }
    return Text + std::to_string (Content.size ()) + "\n";
  }
};

TEST_F (MakeRecord, WritesAWholeMemoryRecord)
{
  Make ("memory --severity fatal --socket 0x102 --channel 3 --dimm 4 --address 0x123456789A "
        "--rank 5 --module-handle 0xFFFF --record-id 7 --fru-text ABC -o record");
  EXPECT_EQ (Dump ("record"), "0: 43 50 45 52 01 01 FF FF\n"
                              "8: FF FF 01 00 01 00 00 00\n"
                              "16: 00 00 00 00 18 01 00 00\n"
                              "80: FE 6F F5 E8 9C 91 C5 4C\n" // machine check
                              "88: BA 88 65 AB E1 49 13 BB\n"
                              "96: 07 00 00 00 00 00 00 00\n"
                              "128: C8 00 00 00 50 00 00 00\n"
                              "136: 00 01 02 00 01 00 00 00\n"
                              "144: 14 11 BC A5 64 6F DE 4E\n"
                              "152: B8 63 3E 83 ED 7C 83 B1\n"
                              "176: 01 00 00 00 41 42 43 00\n"
                              "200: 3A 80 02 00 00 00 00 00\n"
                              "216: 9A 78 56 34 12 00 00 00\n"
                              "232: 02 01 03 00 04 00 00 00\n"
                              "272: 00 00 05 00 00 00 FF FF\n"
                              "280\n");
}

TEST_F (MakeRecord, WritesTheFieldsOfOtherKinds)
{
  const struct {
    const char *Arguments, *Part;
  } Rows[] = {
      {"pcie --bus 0x98 --device 31 --function 7 --segment 0x1234 --class-code "
       "0x010802 --serial-number 0x8877665544332211",
       "200: 18 00 00 00 00 00 00 00\n224: 00 00 00 00 02 08 01 07\n"
       "232: 1F 34 12 98 00 00 00 00\n240: 11 22 33 44 55 66 77 88\n408\n"},
      {"other --section-type {00112233-4455-6677-8899-aAbBcCdDeEfF} --body-size 3",
       "144: 33 22 11 00 55 44 77 66\n152: 88 99 AA BB CC DD EE FF\n"
       "176: 02 00 00 00 00 00 00 00\n203\n"},
      {"processor --revision 0x100", "0: 43 50 45 52 00 01 FF FF"},
      {"processor --notification nmi", "80: FF 89 AD 5B E6 B7 C9 42"},
      {"processor --severity corrected", "80: B1 8B CE 2D D7 BD 0E 45"},
      {"processor --severity 0xFFFFFFFF", "80: FE 6F F5 E8 9C 91 C5 4C"},
      {"pcie --severity fatal --bus 0 --device 0 --function 0", "80: 1F C0 93 CF 16 1A FC 4D"},
  };
  for (const auto &Row : Rows) {
    Make (std::string (Row.Arguments) + " -o record");
    EXPECT_NE (Dump ("record").find (Row.Part), std::string::npos) << Dump ("record");
  }
}

} // namespace
