#include "ControlChannel.h"

#include "BankFilling.h"
#include "ControlPort.h"
#include "HandOver.h"
#include "MachineCheckRegisters.h"
#include "MachineLog.h"
#include "Processors.h"
#include "SmmCall.h"
#include "TextReader.h"

namespace {

/// A command answers with one or more lines. It returns null, or what was wrong with its words.
using CommandFunction = const CHAR8 *(*)(TextReader &Words);

constexpr UINT64 CountMax = 1000000;
constexpr UINT64 ExitMax = 127; // The emulator's exit code has eight bits.
constexpr UINT64 NumberMax = 0xFFFFFFFFFFFFFFFF;

VOID
Serve (UINTN, VOID *)
{
  CallSmm (SmmServe);
}

/// Which processors are to run a job: all of them, or the one with this number.
struct Target {
  bool All;
  UINT64 Processor;
};

bool
ReadTarget (TextReader &Words, Target &To)
{
  TextReader Again = Words;
  CHAR8 Word[8];
  To = {.All = ReadWord (Again, Word, sizeof Word) && IsSameWord (Word, "all"), .Processor = 0};
  if (To.All) {
    Words = Again;
    return true;
  }
  return ReadNumber (Words, 10, HandOverRecord ().Found.ProcessorCount - 1, To.Processor);
}

VOID
RunOnTarget (const Target &To, ProcessorJob Job, VOID *Argument)
{
  if (To.All) {
    RunOnAllProcessors (Job, Argument);
  } else {
    RunOnProcessor (To.Processor, Job, Argument);
  }
}

const CHAR8 *
Poll (TextReader &Words)
{
  Target To;
  if (!ReadTarget (Words, To) || !TextEnds (Words)) {
    return "expected poll CPU";
  }
  RunOnTarget (To, Serve, nullptr);
  ControlPortPrint (ControlDone);
  return nullptr;
}

bool
ReadMachineCheck (TextReader &Words, MachineCheck &Check)
{
  return ReadNumber (Words, 16, NumberMax, Check.Status) &&
         ReadNumber (Words, 16, NumberMax, Check.Address) &&
         ReadNumber (Words, 16, NumberMax, Check.Misc);
}

/// Reads CPU BANK and one machine check or more, and runs them.
bool
RunSeries (TextReader &Words, MachineCheckSeries &Series, UINTN ChecksMax)
{
  Target To;
  const UINTN Banks = MachineCheckBankCount ();
  if (!ReadTarget (Words, To) || Banks == 0 || !ReadNumber (Words, 10, Banks - 1, Series.Bank)) {
    return false;
  }
  for (Series.CheckCount = 0; Series.CheckCount == 0 || !TextEnds (Words); ++Series.CheckCount) {
    if (Series.CheckCount == ChecksMax ||
        !ReadMachineCheck (Words, Series.Checks[Series.CheckCount])) {
      return false;
    }
  }
  RunOnTarget (To, RunMachineChecks, &Series);
  ControlPortPrint (ControlDone);
  return true;
}

const CHAR8 *
Bank (TextReader &Words)
{
  MachineCheckSeries Series = {.Count = 1, .Bank = 0, .CheckCount = 0, .Checks = {}};
  return RunSeries (Words, Series, 1) ? nullptr : "expected bank CPU BANK STATUS ADDR MISC";
}

const CHAR8 *
Repeat (TextReader &Words)
{
  MachineCheckSeries Series = {};
  const bool Known = ReadNumber (Words, 10, CountMax, Series.Count) &&
                     RunSeries (Words, Series, MachineCheckChoices);
  return Known ? nullptr : "expected repeat COUNT CPU BANK STATUS ADDR MISC [STATUS ADDR MISC]";
}

const CHAR8 *
State (TextReader &Words)
{
  if (!TextEnds (Words)) {
    return "expected state";
  }
  CallSmm (SmmReadState);
  const SmmStateReport &Report = HandOverRecord ().Calls.State;
  ControlPortPrint ("pool %ld blocks %ld bytes", Report.LiveBlocks, Report.LiveBytes);
  ControlPortPrint ("checksum %016lx at ready %016lx now", Report.ChecksumAtReady,
                    Report.ChecksumNow);
  for (UINTN Index = 0; Index < HandOverRecord ().Found.ProcessorCount; ++Index) {
    const SmiStatistics &Of = Report.Processors[Index];
    ControlPortPrint ("cpu %ld smi %ld last %ld min %ld max %ld", Index, Of.Count, Of.Last,
                      Of.Shortest, Of.Longest);
  }
  ControlPortPrint (ControlDone);
  return nullptr;
}

const CHAR8 *
Exit (TextReader &Words)
{
  UINT64 Number;
  if (!ReadNumber (Words, 10, ExitMax, Number) || !TextEnds (Words)) {
    return "expected exit NUMBER";
  }
  ExitMachine (static_cast<UINT32> (Number));
}

struct Command {
  const CHAR8 *Name;
  CommandFunction Function;
};
constexpr Command Commands[] = {
    {"poll", Poll}, {"bank", Bank}, {"repeat", Repeat}, {"state", State}, {"exit", Exit}};

const CHAR8 *
RunCommand (TextReader Words)
{
  CHAR8 Name[8];
  if (ReadWord (Words, Name, sizeof Name)) {
    for (const Command &Each : Commands) {
      if (IsSameWord (Name, Each.Name)) {
        return Each.Function (Words);
      }
    }
  }
  return "unknown command";
}

} // namespace

VOID
ServeControlChannel ()
{
  ControlPortOpen ();
  ControlPortPrint (ControlReady);
  for (;;) {
    CHAR8 Line[ControlLineMax];
    const bool Fits = ControlPortReadLine (Line);
    const CHAR8 *Error = Fits ? RunCommand ({Line}) : "the line is too long";
    if (Error != nullptr) {
      ControlPortPrint ("%a%a", ControlError, Error);
    }
  }
}
