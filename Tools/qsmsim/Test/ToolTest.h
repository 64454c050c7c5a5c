/// The bench for the tool: a directory of its own, and one command line after the other in it.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Qsmsim.h"

struct ToolResult {
  int ExitCode;
  std::string Out;
  std::string Err;
};

class ToolTest : public testing::Test {
public:
  ToolTest ()
  {
    std::string Name = (std::filesystem::temp_directory_path () / "qsmsim.XXXXXX").string ();
    EXPECT_NE (mkdtemp (Name.data ()), nullptr);
    std::filesystem::current_path (Name);
  }

  ~ToolTest () override
  {
    const std::filesystem::path Directory = std::filesystem::current_path ();
    std::filesystem::current_path ("/");
    std::filesystem::remove_all (Directory);
  }

  /// Runs the tool with the arguments of a line: words between blanks.
  static ToolResult
  Run (const std::string &Line)
  {
    std::istringstream Text ("qsmsim " + Line);
    const std::vector<std::string> Words (std::istream_iterator<std::string> (Text), {});
    std::vector<const char *> Arguments;
    for (const std::string &Word : Words) {
      Arguments.push_back (Word.c_str ());
    }
    std::ostringstream Out, Err;
    Console Console = {.Out = Out, .Err = Err};
    const int ExitCode =
        QsmsimMain (static_cast<int> (Arguments.size ()), Arguments.data (), Console);
    return {ExitCode, Out.str (), Err.str ()};
  }

  /// Makes files that a test needs; must succeed without a word.
  static void
  Make (const std::string &Line)
  {
    const ToolResult Result = Run ("make " + Line);
    EXPECT_EQ (Result.ExitCode, 0) << Result.Err;
    EXPECT_EQ (Result.Out + Result.Err, "");
  }

  static void
  Write (const std::string &File, const std::string &Content)
  {
    std::ofstream (File, std::ios::binary) << Content;
  }

  static std::string
  Read (const std::string &File)
  {
    std::ostringstream Content;
    Content << std::ifstream (File, std::ios::binary).rdbuf ();
    return Content.str ();
  }
};
