/// Modules and what they wait for, as lines of text: the name of a module, its expression, and the
/// protocol that it brings. The names of modules and protocols are single letters.

#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "Dispatcher.h"
#include "VolumeWriter.h"

namespace {

EFI_GUID
Named (char Letter)
{
  return {static_cast<UINT32> (Letter), 0, 0, {}};
}

char
LetterOf (const EFI_GUID &Name)
{
  return Name.Data1 == 0 ? '-' : static_cast<char> (Name.Data1);
}

/// "b" is PUSH of a protocol's name; "<B" and ">B" are BEFORE and AFTER a module's; "&|!10." are
/// the other opcodes, and any other digit is a byte of that value.
FirmwareBytes
Expression (const std::string &Text)
{
  FirmwareBytes Bytes;
  const auto Append = [&] (UINT8 Opcode, char Letter) {
    const EFI_GUID Name = Named (Letter);
    Bytes.push_back (Opcode);
    Bytes.insert (Bytes.end (), reinterpret_cast<const UINT8 *> (&Name),
                  reinterpret_cast<const UINT8 *> (&Name + 1));
  };
  for (std::size_t Index = 0; Index < Text.size (); ++Index) {
    const std::string Opcodes = "<>~&|!10.";
    const auto Opcode = static_cast<UINT8> (Opcodes.find (Text[Index]));
    if (Text[Index] == '<' || Text[Index] == '>') {
      Append (Opcode, Text[++Index]);
    } else if (Opcode < Opcodes.size ()) {
      Bytes.push_back (Opcode);
    } else if (std::isdigit (Text[Index]) != 0) {
      Bytes.push_back (static_cast<UINT8> (Text[Index] - '0' + EFI_DEP_END));
    } else {
      Append (EFI_DEP_PUSH, Text[Index]);
    }
  }
  return Bytes;
}

/// What a dispatcher did: the letters of the modules in the order of their start, and "B:b" for
/// what a module waits for.
struct Boot {
  std::set<char> Protocols;
  std::string Brings; ///< By the letter of a module, as pairs.
  std::string Did;

  VolumeFault
  Dispatch (const std::string &Lines)
  {
    std::vector<FirmwareBytes> Expressions;
    std::vector<SmmModule> Modules;
    std::istringstream Text (Lines);
    std::string Name, Waits, Bringing;
    while (Text >> Name >> Waits >> Bringing) {
      Modules.push_back ({.Name = Named (Name[0]), .Dependency = {}, .Image = {}, .Title = {}});
      Expressions.push_back (Waits == "none" ? FirmwareBytes{} : Expression (Waits));
      Brings += {Name[0], Bringing[0]};
    }
    for (std::size_t Index = 0; Index < Modules.size (); ++Index) {
      if (!Expressions[Index].empty ()) {
        Modules[Index].Dependency = {Expressions[Index].data (), Expressions[Index].size ()};
      }
    }
    const DispatchWorld World = {
        .Context = this,
        .IsThere =
            [] (VOID *Context, const EFI_GUID *Protocol) {
              return static_cast<Boot *> (Context)->Protocols.contains (LetterOf (*Protocol));
            },
        .Start =
            [] (VOID *Context, const SmmModule &Module) {
              auto *This = static_cast<Boot *> (Context);
              This->Did += LetterOf (Module.Name);
              for (std::size_t Pair = 0; Pair < This->Brings.size (); Pair += 2) {
                if (This->Brings[Pair] == LetterOf (Module.Name)) {
                  This->Protocols.insert (This->Brings[Pair + 1]);
                }
              }
            },
        .Waits =
            [] (VOID *Context, const SmmModule &Module, const EFI_GUID &For) {
              static_cast<Boot *> (Context)->Did +=
                  std::string (" ") + LetterOf (Module.Name) + ":" + LetterOf (For);
            }};
    UINTN Refused = 0;
    return DispatchModules (Modules.data (), Modules.size (), World, Refused);
  }
};

TEST (Dispatcher, StartsInTheOrderThatIsAskedFor)
{
  const struct {
    const char *Modules; ///< The protocol z is there from the start.
    const char *Did;
  } Rows[] = {
      {"A 1. - B none - C z. -", "ABC"},
      {"A b. - B 1. b", "BA"},
      {"A c. - B a. b C 1. a", "CB A:c"},
      {"A bc&. - B 1. b C b. c D 1. -", "BCAD"},
      {"A bc|. - B 1. b", "BA"},
      {"A b!. - B 1. b", "AB"},
      {"A b!. - B z. - C zz&!zb||. -", "ABC"},
      {"A <B. - B 1. -", "AB"},
      {"A >B. - B c. - C 1. c D >A. -", "CBAD"},
      {"A 1. - B <A. - C >A. - D <C. - E >B. -", "BEADC"},
      {"A bc&d|. - B 0. b C z!. - D >E. - E <D. -", " A:b A:c A:d B:- C:- D:E E:D"},
  };
  for (const auto &Row : Rows) {
    Boot Of = {.Protocols = {'z'}, .Brings = "", .Did = ""};
    EXPECT_EQ (Of.Dispatch (Row.Modules).Text, nullptr) << Row.Modules;
    EXPECT_EQ (Of.Did, Row.Did) << Row.Modules;
  }
}

TEST (Dispatcher, RefusesAnUnsoundExpressionAndStartsNothing)
{
  const struct {
    const char *Expression;
    const char *Text;
    UINT64 Offset;
  } Rows[] = {
      {"1", "END is missing", 1},
      {"a", "END is missing", 17},
      {"a~", "a GUID is cut off", 17},
      {"~.", "a GUID is cut off", 0},
      {".", "an operand is missing", 0},
      {"1&.", "an operand is missing", 1},
      {"!.", "an operand is missing", 0},
      {"11.", "operands are left over", 2},
      {"1..", "something stands behind END", 2},
      {"2.", "there is no such opcode in this place", 0},
      {"1<A.", "there is no such opcode in this place", 1},
      {"<A", "END has to follow the module's name", 17},
      {"<A1.", "END has to follow the module's name", 17},
      {">A..", "END has to follow the module's name", 17},
      {"111111111111111111111111111111111.", "there are too many operands", 32},
  };
  for (const auto &Row : Rows) {
    Boot Of = {};
    const VolumeFault Fault = Of.Dispatch (std::string ("A 1. - B ") + Row.Expression + " -");
    EXPECT_STREQ (Fault.Text, Row.Text) << Row.Expression;
    EXPECT_EQ (Fault.Offset, Row.Offset) << Row.Expression;
    EXPECT_EQ (Of.Did, "") << Row.Expression;
  }
}

TEST (Dispatcher, WaitsForAllOfAList)
{
  const EFI_GUID One = Named ('a'), Two = Named ('b'), Three = Named ('c');
  const EFI_GUID *const List[] = {&One, &Two, &Three};
  EXPECT_EQ (DependencyOnAll (List), Expression ("ab&c&."));
  EXPECT_EQ (DependencyOnAll ({}), Expression ("1."));
}

} // namespace
