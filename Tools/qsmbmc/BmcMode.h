/// How the BMC behaves: well, or in one of the ways in which real ones fail.
#pragma once

#include <string>
#include <vector>

#include "Base.h"

enum class BmcModeKind {
  Normal,
  Mute,   ///< Never answers, and drops an answer that is held back.
  Late,   ///< Holds each answer back until it is told to send it, or until the next request.
  Refuse, ///< Refuses each request with the completion code.
  Garbage ///< Answers with bytes that are no answer to the request.
};

/// What is wrong with an answer.
enum class GarbageKind {
  Checksum, ///< The checksum is off by one.
  Short,    ///< The message ends before its completion code.
  Foreign,  ///< The message is well formed and answers another command.
  Long,     ///< The message is as large as a frame can be.
  Noise     ///< There are a control command and stray bytes, and no message.
};

struct BmcMode {
  BmcModeKind Kind = BmcModeKind::Normal;
  UINT8 CompletionCode = 0; ///< Of Refuse.
  GarbageKind Garbage = {}; ///< Of Garbage.
};

/// The mode of a text: "normal", "mute", "late", "refuse CODE", "garbage KIND". Throws InputError,
/// which names what the text was given for.
BmcMode ParseBmcMode (const std::string &Text, const std::string &GivenFor = "mode");

/// The names of the modes, and those of the garbage.
std::vector<std::string> BmcModeNames ();
std::vector<std::string> GarbageNames ();

/// The text of a mode.
std::string BmcModeText (const BmcMode &Mode);
