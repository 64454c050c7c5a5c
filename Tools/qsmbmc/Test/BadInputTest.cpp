#include "Qsmbmc.h"
#include "ToolTest.h"

namespace {

class BmcBadInput : public ToolTest {
public:
  BmcBadInput () : ToolTest ("qsmbmc", QsmbmcMain) {}
};

TEST_F (BmcBadInput, GivesCodeTwoAndOneLine)
{
  Write ("text", "hello\n");
  const std::string Path (108, 'p');
  const Refusal Rows[] = {
      {"", "--listen is required (see --help)"},
      {"--listen unix:s --port 1", "There is no \"--port\" here (see --help)"},
      {"--listen 0.0.0.0:1", "--listen: expected unix:PATH or 127.0.0.1:PORT, found \"0.0.0.0:1\""},
      {"--listen 127.0.0.1:65536", "--listen: expected a number from 0 to 65535, found \"65536\""},
      {"--listen unix:", "--listen: expected a path of 1 to 107 characters, found \"\""},
      {"--listen unix:" + Path,
       "--listen: expected a path of 1 to 107 characters, found \"" + Path + "\""},
      {"--listen unix:text", "--listen: expected an address that is free, found \"unix:text\": "
                             "Address already in use"},
      {"--listen unix:no/s", "--listen: expected an address that is free, found \"unix:no/s\": "
                             "No such file or directory"},
      {"--listen unix:s --mode deaf",
       "--mode: expected normal, mute, late, refuse, garbage, found \"deaf\""},
      {"--listen unix:s --mode refuse --completion-code 0",
       "--completion-code: expected a number from 1 to 255, found \"0\""},
      {"--listen unix:s --mode garbage --garbage can",
       "--mode garbage: expected checksum, short, foreign, long, noise, found \"can\""},
      {"--listen unix:s --garbage long", "--garbage requires --mode (see --help)"},
      {"--listen unix:s --mode mute --completion-code 0xC1",
       "--completion-code: expected --mode refuse with it, found \"mute\""},
      {"--listen unix:s --log no/log",
       "no/log: expected a log that can be written: No such file or directory"},
      {"--listen unix:s --log text",
       "text: line 1: expected an event with a sequence number above 0"},
      {"--listen unix:s --log /dev/null", "/dev/null: expected a regular file: Invalid argument"},
  };
  ExpectRefused (Rows);
  EXPECT_FALSE (std::filesystem::exists ("s"));
}

} // namespace
