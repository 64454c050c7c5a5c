/// The bench for a tool: a directory of its own, and one command line after the other in it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Console.h"
#include "TemporaryDirectory.h"

struct ToolResult {
  int ExitCode;
  std::string Out;
  std::string Err;
};

class ToolTest : public testing::Test {
public:
  using ToolMain = int (int ArgumentCount, const char *const *Arguments, Console &Console);

  ToolTest (std::string ToolName, ToolMain *Function) : Name (std::move (ToolName)), Main (Function)
  {
    std::filesystem::current_path (Directory.Path ());
  }

  ~ToolTest () override
  {
    std::filesystem::current_path ("/");
  }

  /// Runs the tool with the arguments of a line: words between blanks.
  ToolResult
  Run (const std::string &Line)
  {
    std::istringstream Text (Name + " " + Line);
    const std::vector<std::string> Words (std::istream_iterator<std::string> (Text), {});
    std::vector<const char *> Arguments;
    for (const std::string &Word : Words) {
      Arguments.push_back (Word.c_str ());
    }
    std::ostringstream Out, Err;
    Console Console = {.Out = Out, .Err = Err};
    const int ExitCode = Main (static_cast<int> (Arguments.size ()), Arguments.data (), Console);
    return {ExitCode, Out.str (), Err.str ()};
  }

  /// A line that is refused, and why.
  struct Refusal {
    std::string Line, Complaint;
  };

  /// Each line ends with code 2, one line on standard error and nothing else.
  void
  ExpectRefused (std::span<const Refusal> Rows)
  {
    for (const Refusal &Row : Rows) {
      SCOPED_TRACE (Row.Line);
      const ToolResult Result = Run (Row.Line);
      EXPECT_EQ (Result.ExitCode, 2);
      EXPECT_EQ (Result.Err, Name + ": " + Row.Complaint + "\n");
      EXPECT_EQ (Result.Out, "");
    }
  }

  /// Text is that of the file, which is written anew if QSM_WRITE_EXPECTED is set.
  static void
  ExpectText (const std::filesystem::path &File, const std::string &Text)
  {
    if (std::getenv ("QSM_WRITE_EXPECTED") != nullptr) {
      std::filesystem::create_directories (File.parent_path ());
      Write (File, Text);
    }
    EXPECT_EQ (Text, Read (File)) << "Expected: " << File;
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

private:
  std::string Name;
  ToolMain *Main;
  TemporaryDirectory Directory;
};
